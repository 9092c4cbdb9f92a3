#include <gtest/gtest.h>

#include <cmath>

#include "dsp/OversamplingFilter.h"

namespace {

// Gain in dB of a sine at f through the filter running at fs, from the
// projection of the settled output onto the input sine and cosine.
double gainDb(const OversamplingCoefficients& c, double fs, double f) {
  double state[6] = {};
  double re = 0.0, im = 0.0;
  const int settle = 20000, length = 88200;
  for (int i = 0; i < settle + length; ++i) {
    const double phase = 2.0 * M_PI * f * i / fs;
    const double y = oversamplingStep(state, c.feedback, c.feedforward, std::sin(phase));
    if (i >= settle) re += y * std::sin(phase), im += y * std::cos(phase);
  }
  return 20.0 * std::log10(2.0 / length * std::hypot(re, im));
}

}  // namespace

TEST(OversamplingFilter, SelectsTheSetByTheTruncatedRate) {
  EXPECT_EQ(&oversamplingCoefficientsFor(48000.0), &kOversampling48000);
  EXPECT_EQ(&oversamplingCoefficientsFor(48000.5), &kOversampling48000);
  for (double rate : {47999.9, 44100.0, 96000.0, 1000.0, double(NAN)})
    EXPECT_EQ(&oversamplingCoefficientsFor(rate), &kOversampling44100) << rate;
}

TEST(OversamplingFilter, LowPassResponseAtFourTimesTheRate) {
  for (double rate : {44100.0, 48000.0}) {
    const OversamplingCoefficients& c = oversamplingCoefficientsFor(rate);
    double state[6] = {}, y = 0.0;
    for (int i = 0; i < 20000; ++i) y = oversamplingStep(state, c.feedback, c.feedforward, 1.0);
    EXPECT_NEAR(y, 1.0, 3e-6) << rate;
    EXPECT_EQ(state[5], 0.0);
    EXPECT_NEAR(gainDb(c, 4 * rate, 1000), -0.19, 0.05) << rate;
    EXPECT_NEAR(gainDb(c, 4 * rate, 5930), -3.0, 0.1) << rate;
    EXPECT_NEAR(gainDb(c, 4 * rate, 12000), -45.6, 0.2) << rate;
  }
}
