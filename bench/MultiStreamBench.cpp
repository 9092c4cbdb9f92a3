// The multi-stream engine against the single-stream fast engine, in one run.
// One iteration renders a quarter of a second of the 110 Hz sawtooth per
// stream at 48000 Hz in blocks of 256, steady knobs. Figures are wall time
// per stream-sample over all streams (the threads the engine starts count),
// so x_realtime is the aggregate throughput.
//
//   multistream/single-fast/48000/256            one instance, fast engine
//   multistream/<kernel>/<streams>/<threads>/48000/256
//                                                 renderStreams with that lane kernel
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "bench/BenchSignal.h"
#include "dsp/multistream/StreamBatch.h"
#include "effect/VELTRAX.h"

namespace {

namespace ms = veltrax::multistream;

constexpr double kRate = 48000.0;
constexpr int kBlock = 256;

// Wall-clock figures, set once the loop has ended.
class WallClock {
 public:
  void start() { begin_ = std::chrono::steady_clock::now(); }
  void stop() {
    ns_ +=
        std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin_).count();
  }
  void report(benchmark::State& state, double samplesPerIteration) const {
    const double samples = samplesPerIteration * static_cast<double>(state.iterations());
    state.counters["ns_per_sample"] = ns_ / samples;
    state.counters["x_realtime"] = samples / kRate / (ns_ * 1e-9);
  }

 private:
  std::chrono::steady_clock::time_point begin_;
  double ns_ = 0.0;
};

void singleFast(benchmark::State& state) {
  const size_t frames = static_cast<size_t>(kRate / 4);
  std::vector<double> in = veltrax::bench::sawtooth(kRate, frames), out(frames);
  VELTRAX fx(nullptr);
  fx.setSampleRate(static_cast<float>(kRate));
  WallClock clock;
  for (auto _ : state) {
    clock.start();
    for (size_t pos = 0; pos < frames; pos += kBlock) {
      double* i = in.data() + pos;
      double* o = out.data() + pos;
      fx.processDoubleReplacing(&i, &o,
                                static_cast<int32_t>(std::min<size_t>(kBlock, frames - pos)));
    }
    clock.stop();
    benchmark::DoNotOptimize(out.data());
  }
  clock.report(state, static_cast<double>(frames));
}

void multiStream(benchmark::State& state, ms::KernelChoice kernel, int streams, int threads) {
  const size_t frames = static_cast<size_t>(kRate / 4);
  std::vector<std::vector<double>> in,
      out(static_cast<size_t>(streams), std::vector<double>(frames));
  for (int s = 0; s < streams; ++s) in.push_back(veltrax::bench::sawtooth(kRate, frames));
  std::vector<ms::StreamJob> jobs;
  for (int s = 0; s < streams; ++s)
    jobs.push_back({in[s].data(), out[s].data(), frames, ms::Knobs{}});
  WallClock clock;
  for (auto _ : state) {
    clock.start();
    ms::renderStreams(jobs.data(), jobs.size(), static_cast<float>(kRate), kBlock, threads, kernel);
    clock.stop();
    benchmark::DoNotOptimize(out[0].data());
  }
  clock.report(state, static_cast<double>(frames) * streams);
}

[[maybe_unused]] const bool registered = [] {
  benchmark::RegisterBenchmark("multistream/single-fast/48000/256", singleFast)
      ->Unit(benchmark::kMillisecond);
  ms::KernelChoice kernels[4];
  const int count = ms::supportedKernels(kernels, 4);
  for (int k = 0; k < count; ++k)
    for (int streams : {8, 16, 32})
      for (int threads : {1, 2}) {
        const std::string name = std::string("multistream/") + kernels[k].name + "/" +
                                 std::to_string(streams) + "/" + std::to_string(threads) +
                                 "/48000/256";
        benchmark::RegisterBenchmark(name.c_str(), multiStream, kernels[k], streams, threads)
            ->Unit(benchmark::kMillisecond);
      }
  return true;
}();

}  // namespace
