#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "dsp/Clipper.h"

namespace {

double tanhHalf(double x) {  // the table's own formula for tanh(x/2)
  const double e = std::exp(-x);
  return (1.0 - e) / (1.0 + e);
}

}  // namespace

TEST(ClippingTable, BuildFollowsTheFormulaWithExactAntisymmetry) {
  std::unique_ptr<Clipper> c(new Clipper());
  c->build();
  for (int k = 0; k <= 20000; ++k) {
    ASSERT_EQ(c->clipTable[20000 + k], tanhHalf(0.0016 * k)) << k;
    ASSERT_EQ(c->clipTable[20000 - k], -c->clipTable[20000 + k]) << k;
  }
  EXPECT_TRUE(c->clipScale == 20000.0 && c->clipLimit == c->clipTable[40000] &&
              !std::signbit(c->clipTable[20000]));
}

TEST(ClippingTable, ReaderInterpolatesUpToTheTopWithoutReadingPastTheTable) {
  std::unique_ptr<Clipper> c(new Clipper());
  c->build();
  EXPECT_EQ(c->lookup(1.0), c->clipLimit);
  EXPECT_EQ(c->lookup(-1.0), c->clipTable[0]);
  EXPECT_EQ(c->lookup(0x1p-15), c->clipTable[20001] * 0.6103515625);  // position 20000.6103515625
  double worst = 0.0;
  for (double h = -1.0; h <= 1.0; h += 0.000123)
    worst = std::fmax(worst, std::fabs(c->lookup(h) - tanhHalf(32.0 * h)));
  EXPECT_LT(worst, 1e-7);  // linear interpolation over steps of 0.0008
}
