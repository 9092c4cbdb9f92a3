#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>

#include "dsp/Clipper.h"

namespace {

// Built once for the whole file; the table is 320 kB.
const Clipper& table() {
  static const std::unique_ptr<Clipper> clip = [] {
    std::unique_ptr<Clipper> c(new Clipper());
    c->build();
    return c;
  }();
  return *clip;
}

double tanhFormula(double x) {  // the table's own formula, tanh(x / 2)
  const double e = std::exp(-x);
  return (1.0 - e) / (1.0 + e);
}

}  // namespace

TEST(ClippingTable, EntriesFollowTheFormulaAndAreExactlyAntisymmetric) {
  const Clipper& c = table();
  EXPECT_EQ(c.clipScale, 20000.0);
  for (int k = 0; k <= 20000; ++k) {
    const double v = tanhFormula(0.0016 * k);
    ASSERT_EQ(c.clipTable[20000 + k], v) << k;
    ASSERT_EQ(c.clipTable[20000 - k], 0.0 - v) << k;
  }
  EXPECT_FALSE(std::signbit(c.clipTable[20000]));
  EXPECT_EQ(c.clipLimit, tanhFormula(32.0));
  EXPECT_EQ(c.clipLimit, c.clipTable[40000]);
  EXPECT_NEAR(c.clipTable[21250], 0.7615941559557649, 2e-16);
  EXPECT_NEAR(c.clipTable[20001], 0.0007999998293333531, 1e-19);
  EXPECT_NEAR(c.clipLimit, 0.9999999999999747, 1e-16);
}

TEST(ClippingTable, ReaderInterpolatesOverTheWholeRange) {
  const Clipper& c = table();
  EXPECT_EQ(c.lookup(1.0), c.clipLimit);  // weight 0 on the neighbour past the table
  EXPECT_EQ(c.lookup(-1.0), c.clipTable[0]);
  EXPECT_EQ(c.lookup(0.0), 0.0);
  EXPECT_EQ(c.lookup(0.25), c.clipTable[25000]);
  EXPECT_EQ(c.lookup(0x1p-15), c.clipTable[20001] * 0.6103515625);  // pos 20000.6103515625
  double worst = 0.0;
  for (double h = -1.0; h <= 1.0; h += 0.000123)
    worst = std::fmax(worst, std::fabs(c.lookup(h) - tanhFormula(32.0 * h)));
  EXPECT_LT(worst, 1e-7);  // linear interpolation over steps of 0.0008
}

TEST(ClippingTable, RebuildWritesIdenticalValuesAndAnUnbuiltTableReadsZero) {
  static Clipper unbuilt;  // static storage: zero until built
  EXPECT_EQ(unbuilt.lookup(0.3), 0.0);
  std::unique_ptr<Clipper> again(new Clipper());
  again->build();
  again->build();
  EXPECT_EQ(std::memcmp(again.get(), &table(), sizeof(Clipper)), 0);
}
