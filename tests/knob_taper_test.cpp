#include <gtest/gtest.h>

#include <cmath>

#include "dsp/KnobTaper.h"

TEST(KnobTaper, EffectTapersAtBothEndsAndTheMiddle) {
  struct Case { const char* name; const KnobTaper& taper; double at0, atHalf, at1; };
  const Case cases[] = {
      {"sustain", kSustainTaper, 0.1, 0.325, 1.0},
      {"volume", kVolumeTaper, 0.0, 0.125, 1.0},
      {"tone level", kToneLevelTaper, 1.0, 0.188364909 + 0.811635091 * 0.5, 0.188364909},
      {"peak frequency", kToneFrequencyTaper, 2100.0, 390.0 + 1710.0 * 0.25, 390.0},
      {"peak gain", kToneGainTaper, 0.0, -6.0 + 6.0 * 0.25, -6.0},
      {"shelf gain", kToneShelfTaper, 0.0, 37.0 * 0.75, 37.0},
  };
  for (const Case& c : cases) {
    const double want[3] = {c.at0, c.atHalf, c.at1};
    const float knob[3] = {0.0f, 0.5f, 1.0f};
    for (int i = 0; i < 3; ++i) {
      const double got = evaluateTaper(c.taper, knob[i]);
      EXPECT_NEAR(got, want[i], 2e-7 * std::fmax(1.0, std::fabs(want[i]))) << c.name << " " << knob[i];
      EXPECT_EQ(got, static_cast<float>(got)) << "result is single precision";
    }
  }
}

TEST(KnobTaper, OtherShapesAndAFlippedRange) {
  float poly[3] = {2.0f, 3.0f, 1.0f};  // 2x^2 + 3x + 1
  struct Case { KnobTaper taper; float x; double want; };
  const Case cases[] = {
      {{nullptr, 1, 1.0, 0.0, 1, 0, 0, 1, 0}, 0.5f, std::pow(0.5, 1.41421354)},
      {{nullptr, 2, 1.0, 0.0, 3, 0.5f, 0, 1, 0}, 0.5f, 0.5},  // arctangent S through its centre
      {{nullptr, 2, 1.0, 0.0, 3, 0.5f, 0, 1, 0}, 1.0f, 1.0},
      {{nullptr, 2, 1.0, 0.0, 3, 0.5f, 0, 1, 0}, 0.0f, 0.0},
      {{poly, 3, 10.0, 0.0, 1, 0, 0, 1, 3}, 0.5f, 30.0},
      {{poly, 3, 10.0, 2.0, 1, 0, 0, 1, 0}, 0.5f, 2.0},      // no coefficients: zero shape
      {{nullptr, 7, 0.0, 10.0, 1, 0, 0, 1, 0}, 0.25f, 7.5},  // linear, range runs downwards
      {{nullptr, 0, 0.0, 10.0, 1, 0, 0, 2, 0}, 0.0f, 10.0},
  };
  for (const Case& c : cases)
    EXPECT_NEAR(evaluateTaper(c.taper, c.x), c.want, 1e-6) << c.taper.taperType << " " << c.x;
}
