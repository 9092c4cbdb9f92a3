#include "host/demo/PluckedString.h"

#include <algorithm>
#include <cmath>

namespace veltrax::host {

double nextNoise(uint32_t& state) {
  state ^= state << 13;
  state ^= state >> 17;
  state ^= state << 5;
  return static_cast<double>(state) / 2147483648.0 - 1.0;
}

PluckedString::PluckedString(double sampleRate)
    : sampleRate_(sampleRate), line_(static_cast<size_t>(sampleRate / 20.0) + 4, 0.0) {}

void PluckedString::pluck(double frequency, double velocity, double brightness, double decaySeconds,
                          uint32_t& noiseState) {
  frequency_ = frequency;
  delay_ = std::max(1.0, sampleRate_ / frequency - 0.5);
  damp(decaySeconds);
  // A one-pole low-pass on the noise sets how bright the pick sounds; the
  // burst is added to what still rings, as a real re-pluck does.
  const auto period = static_cast<size_t>(delay_);
  const double smoothing = 1.0 - (0.15 + 0.8 * brightness);
  double state = 0.0;
  for (size_t i = 0; i < period; ++i) {
    state = (1.0 - smoothing) * nextNoise(noiseState) + smoothing * state;
    const size_t at = (write_ + line_.size() - period + i) % line_.size();
    line_[at] = 0.5 * line_[at] + velocity * state;
  }
}

void PluckedString::damp(double decaySeconds) {
  loopGain_ = std::pow(10.0, -3.0 / (decaySeconds * frequency_));
}

double PluckedString::next() {
  if (frequency_ <= 0.0) return 0.0;
  const double read = static_cast<double>(write_) + static_cast<double>(line_.size()) - delay_;
  const auto whole = static_cast<size_t>(read);
  const double fraction = read - static_cast<double>(whole);
  const double a = line_[whole % line_.size()];
  const double b = line_[(whole + 1) % line_.size()];
  const double delayed = a + (b - a) * fraction;
  const double out = loopGain_ * (0.5 * delayed + 0.5 * previous_);
  previous_ = delayed;
  line_[write_] = out;
  write_ = (write_ + 1) % line_.size();
  return out;
}

}  // namespace veltrax::host
