#include <gtest/gtest.h>

#include <cmath>

#include "dsp/OversamplingFilter.h"

// Run at four times the rate each set was made for: the DC gain as a ratio,
// sine gains in dB projected from the settled output.
TEST(OversamplingFilter, LowPassAtFourTimesTheRateOfEachSet) {
  struct Point { double f, want, tolerance; };
  for (double rate : {44100.0, 48000.0}) {
    const OversamplingCoefficients& c = oversamplingCoefficientsFor(rate);
    for (const Point p : {Point{0, 1.0, 3e-6}, Point{5930, -3.0, 0.1}, Point{12000, -45.6, 0.2}}) {
      double state[6] = {}, re = 0.0, im = 0.0, y = 0.0;
      for (int i = 0; i < 108200; ++i) {
        const double phase = 2.0 * M_PI * p.f * i / (4 * rate);
        y = oversamplingStep(state, c.feedback, c.feedforward, p.f ? std::sin(phase) : 1.0);
        if (i >= 20000) re += y * std::sin(phase), im += y * std::cos(phase);
      }
      const double dB = 20.0 * std::log10(2.0 / 88200 * std::hypot(re, im));
      EXPECT_NEAR(p.f ? dB : y, p.want, p.tolerance) << rate << " at " << p.f;
    }
  }
  for (double rate : {47999.9, 96000.0, double(NAN)}) EXPECT_EQ(&oversamplingCoefficientsFor(rate), &kOversampling44100);
  EXPECT_EQ(&oversamplingCoefficientsFor(48000.5), &kOversampling48000);
}
