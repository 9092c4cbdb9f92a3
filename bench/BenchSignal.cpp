#include "bench/BenchSignal.h"

namespace veltrax::bench {

std::vector<double> sawtooth(double rate, size_t frames) {
  std::vector<double> signal(frames);
  const double step = 110.0 / rate;
  double phase = 0.0;
  for (double& x : signal) {
    x = static_cast<double>(static_cast<float>(phase - 0.5));  // the peer host's float samples
    phase += step;
    if (phase >= 1.0) phase -= 1.0;
  }
  return signal;
}

}  // namespace veltrax::bench
