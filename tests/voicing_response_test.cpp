// The pedal's voicing measured from outside, as a host: the small-signal
// frequency response of the effect path at fixed frequencies and knob
// settings, against the independent model of support/VoicingModel. An
// impulse of 1e-7 keeps the clipper far inside its linear range (the tanh
// argument stays below 2e-3, where its curvature is below 1e-6 dB).
#include <gtest/gtest.h>

#include <cmath>
#include <complex>

#include "support/ModuleHost.h"
#include "support/VoicingModel.h"

using namespace testhost;

namespace {

constexpr double kImpulse = 1e-7;
constexpr size_t kLength =
    1 << 16;  // the slowest pole (10 Hz high-pass) decays below 1e-18 within it

struct Setting {
  float rate;  // Hz, as the host hands it over
  voicing::Knobs knobs;
};

// Instance with the knobs applied and their first-block ramps done.
std::unique_ptr<Instance> settled(const Module& module, const Setting& s) {
  auto fx = std::make_unique<Instance>(module);
  const float knobs[4] = {1.0f, float(s.knobs.volume), float(s.knobs.tone), float(s.knobs.sustain)};
  for (int i = 0; i < 4; ++i) fx->setParameter(i, knobs[i]);
  fx->setSampleRate(s.rate);
  fx->process(std::vector<double>(512, 0.0), {512});
  return fx;
}

std::complex<double> spectrumAt(const std::vector<double>& x, double f, double rate) {
  std::complex<double> sum = 0.0;
  for (size_t n = 0; n < x.size(); ++n)
    sum += x[n] * std::polar(1.0, -2.0 * M_PI * f * double(n) / rate);
  return sum;
}

double dB(std::complex<double> h) { return 20.0 * std::log10(std::abs(h)); }

// Rates: both oversampling sets; 96 kHz and 47999.9 Hz take the 44.1 kHz set,
// 48000.5 Hz (an integer part of 48000) the 48 kHz one.
// Knobs: the tone taper's end points and curve, the drive and volume tapers.
const Setting kSettings[] = {
    {44100, {0.5, 0.5, 0.5}},   {48000, {0.5, 0.5, 0.5}},   {96000, {0.5, 0.5, 0.5}},
    {44100, {0.5, 0.0, 0.5}},   {44100, {0.5, 0.25, 0.5}},  {44100, {0.5, 0.75, 0.5}},
    {48000, {0.5, 1.0, 0.5}},   {44100, {0.5, 0.5, 0.0}},   {96000, {0.5, 0.5, 1.0}},
    {48000.5, {1.0, 0.5, 0.2}}, {47999.9, {0.2, 0.5, 0.5}},
};

// From the pre cascade's 10 Hz high-pass and 120 Hz bump, over the tone
// filters' 390..2100 Hz peak, to the shelves near 12 and 20 kHz where the
// oversampling low-pass and the tone shelf meet.
const double kFrequencies[] = {20, 60, 120, 300, 1000, 1550, 2500, 5000, 8000, 12000, 16000};

TEST(VoicingResponse, EffectPathFollowsTheStageTablesAndTapers) {
  Module module;
  for (const Setting& s : kSettings) {
    std::vector<double> in(kLength, 0.0);
    in[0] = kImpulse;
    const auto out = settled(module, s)->process(in, {4096});
    for (const double f : kFrequencies) {
      if (f >= s.rate / 2) continue;
      const auto measured = spectrumAt(out, f, s.rate) / kImpulse;
      const auto model = voicing::effectPathResponse(s.rate, s.knobs, f);
      // 0.05 dB in level and the matching 0.0058 rad in phase.
      EXPECT_LT(std::abs(measured / model - 1.0), 0.0058)
          << s.rate << " Hz, volume " << s.knobs.volume << " tone " << s.knobs.tone << " sustain "
          << s.knobs.sustain << " at " << f << " Hz: " << dB(measured) << " dB, model " << dB(model)
          << " dB";
    }
  }
}

// Landmarks a player hears, stated in dB at 1 kHz with the knobs at noon:
// the drive taper (sustain 0 / 1 against noon) and the tone level's span.
TEST(VoicingResponse, KnobLandmarksAtOneKilohertz) {
  Module module;
  auto gainAt1k = [&](voicing::Knobs k) {
    std::vector<double> in(kLength, 0.0);
    in[0] = kImpulse;
    return dB(spectrumAt(settled(module, {44100, k})->process(in, {4096}), 1000, 44100) / kImpulse);
  };
  const double noon = gainAt1k({0.5, 0.5, 0.5});
  EXPECT_NEAR(gainAt1k({0.5, 0.5, 1.0}) - noon, 20 * std::log10(1.0 / 0.325),
              0.05);  // drive 0.325 -> 1
  EXPECT_NEAR(gainAt1k({0.5, 0.5, 0.0}) - noon, 20 * std::log10(0.1 / 0.325),
              0.05);                                                          // drive 0.325 -> 0.1
  EXPECT_NEAR(gainAt1k({1.0, 0.5, 0.5}) - noon, 20 * std::log10(8.0), 0.05);  // volume x^3
}

}  // namespace
