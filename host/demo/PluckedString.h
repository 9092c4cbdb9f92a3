// One guitar string by Karplus-Strong synthesis: a delay line one period
// long, excited by a filtered noise burst, fed back through a two-point
// average (the string's frequency-dependent loss) and a loop gain that sets
// the decay time:
//   y[n] = g * (0.5 * y[n-P] + 0.5 * y[n-P-1]),   g = 10^(-3 / (T60 * f0))
// so the loop delay is P + 0.5 samples, with the fraction of the period
// handled by linear interpolation on the read side.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace veltrax::host {

class PluckedString {
 public:
  explicit PluckedString(double sampleRate);

  // Starts a note: `frequency` in Hz, `velocity` 0..1, `brightness` 0..1 of
  // the pick attack, `decaySeconds` the time to fall by 60 dB.
  void pluck(double frequency, double velocity, double brightness, double decaySeconds,
             uint32_t& noiseState);
  // Shortens the ringing note to `decaySeconds` (a fretting hand lifting off).
  void damp(double decaySeconds);
  double next();

 private:
  double sampleRate_;
  std::vector<double> line_;
  size_t write_ = 0;
  double delay_ = 0.0;  // read distance in samples, >= 1
  double frequency_ = 0.0;
  double loopGain_ = 0.0;
  double previous_ = 0.0;
};

// xorshift32: the deterministic noise every pluck draws from; returns -1..1.
double nextNoise(uint32_t& state);

}  // namespace veltrax::host
