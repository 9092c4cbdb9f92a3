// The pedal's voicing measured from outside, as a host: landmarks a player
// hears, in dB at 1 kHz with the knobs at noon, read off the small-signal
// response of the effect path (the whole response is compared with the
// independent model of support/VoicingModel in voicing_levels_test). An
// impulse of 1e-7 keeps the clipper far inside its linear range (the tanh
// argument stays below 2e-3, where its curvature is below 1e-6 dB).
#include <gtest/gtest.h>

#include <cmath>
#include <complex>

#include "support/ModuleHost.h"

using namespace testhost;

namespace {

constexpr double kImpulse = 1e-7;
constexpr size_t kLength =
    1 << 16;  // the slowest pole (10 Hz high-pass) decays below 1e-18 within it

// Gain in dB at 1 kHz at 44.1 kHz for knobs {volume, tone, sustain}, their
// first-block ramps done.
double gainAt1k(const Module& module, const float (&knobs)[3]) {
  Instance fx(module);
  for (int i = 0; i < 3; ++i) fx.setParameter(1 + i, knobs[i]);
  fx.setSampleRate(44100.0f);
  fx.process(std::vector<double>(512, 0.0), {512});
  std::vector<double> in(kLength, 0.0);
  in[0] = kImpulse;
  const auto out = fx.process(in, {4096});
  std::complex<double> sum = 0.0;
  for (size_t n = 0; n < out.size(); ++n)
    sum += out[n] * std::polar(1.0, -2.0 * M_PI * 1000.0 * double(n) / 44100.0);
  return 20.0 * std::log10(std::abs(sum) / kImpulse);
}

// The drive taper (sustain 0 / 1 against noon) and the volume taper's top.
TEST(VoicingResponse, KnobLandmarksAtOneKilohertz) {
  Module module;
  const double noon = gainAt1k(module, {0.5f, 0.5f, 0.5f});
  EXPECT_NEAR(gainAt1k(module, {0.5f, 0.5f, 1.0f}) - noon, 20 * std::log10(1.0 / 0.325),
              0.05);  // drive 0.325 -> 1
  EXPECT_NEAR(gainAt1k(module, {0.5f, 0.5f, 0.0f}) - noon, 20 * std::log10(0.1 / 0.325),
              0.05);  // drive 0.325 -> 0.1
  EXPECT_NEAR(gainAt1k(module, {1.0f, 0.5f, 0.5f}) - noon, 20 * std::log10(8.0),
              0.05);  // volume x^3
}

}  // namespace
