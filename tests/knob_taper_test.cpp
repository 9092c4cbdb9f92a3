#include <gtest/gtest.h>

#include <cmath>

#include "dsp/KnobTaper.h"

// The taper shapes the effect does not use (its six power tapers are measured
// through the module in the voicing tests).
TEST(KnobTaper, ValuesAtKnobZeroHalfAndOne) {
  float poly[3] = {2.0f, 3.0f, 1.0f};  // 2x^2 + 3x + 1
  struct Case {
    KnobTaper taper;
    double at0, atHalf, at1;
  };
  const Case cases[] = {
      {{nullptr, 1, 1.0, 0.0, 1, 0, 0, 1, 0}, 0.0, std::pow(0.5, 1.41421354), 1.0},
      {{nullptr, 2, 1.0, 0.0, 3, 0.5f, 0, 1, 0}, 0.0, 0.5, 1.0},  // arctangent S-curve
      {{poly, 3, 10.0, 0.0, 1, 0, 0, 1, 3}, 10.0, 30.0, 60.0},
      {{poly, 3, 10.0, 2.0, 1, 0, 0, 1, 0}, 2.0, 2.0, 2.0},      // no coefficients: zero shape
      {{nullptr, 7, 0.0, 10.0, 1, 0, 0, 1, 0}, 10.0, 5.0, 0.0},  // linear; range runs downwards
  };
  for (const Case& c : cases) {
    const double want[3] = {c.at0, c.atHalf, c.at1};
    for (int i = 0; i < 3; ++i) {
      const double got = evaluateTaper(c.taper, 0.5f * i);
      EXPECT_NEAR(got, want[i], 2e-7 * std::fmax(1.0, std::fabs(want[i])))
          << &c - cases << " at " << 0.5 * i;
      EXPECT_EQ(got, static_cast<float>(got));  // single-precision result
    }
  }
}
