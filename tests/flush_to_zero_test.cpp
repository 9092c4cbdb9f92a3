// The processing thread's flush-to-zero scope: normal-level arithmetic gives
// the same bits inside and outside it on every processor, denormal results
// become zero, and a denormal operand counts as zero on aarch64 only (x86
// flushes results, not operands). The control state comes back afterwards.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "dsp/FlushToZero.h"

namespace {

// Keeps the compiler from folding the arithmetic at build time.
double opaque(double x) {
  volatile double v = x;
  return v;
}

bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// One transposed direct-form II step, the filter sections' recursion.
double sectionStep(const double (&c)[5], double x, double& z1, double& z2) {
  const double y = c[2] * x + z1;
  z1 = c[3] * x + c[0] * y + z2;
  z2 = c[4] * x + c[1] * y;
  return y;
}

}  // namespace

TEST(FlushToZero, NormalLevelSignalsGiveTheSameBitsInsideAndOutside) {
  std::mt19937_64 rng(5);
  std::uniform_real_distribution<double> sample(-1.5, 1.5), coef(-1.99, 1.99);
  for (int run = 0; run < 200; ++run) {
    const double c[5] = {coef(rng) / 2, -std::fabs(coef(rng)) / 2, coef(rng), coef(rng), coef(rng)};
    double outside[2] = {0, 0}, inside[2] = {0, 0};
    for (int i = 0; i < 500; ++i) {
      const double x = opaque(sample(rng));
      const double expected = sectionStep(c, x, outside[0], outside[1]);
      FlushToZeroScope flushToZero;
      const double actual = sectionStep(c, x, inside[0], inside[1]);
      ASSERT_TRUE(sameBits(expected, actual) || (std::isnan(expected) && std::isnan(actual)))
          << "run " << run << ", sample " << i;
    }
  }
}

TEST(FlushToZero, DenormalsByProcessor) {
  const double tiny = opaque(1e-310);  // denormal
  double insideProduct, insideScaled;
  {
    FlushToZeroScope flushToZero;
    insideProduct = opaque(1e-200) * opaque(1e-110);  // denormal result
    insideScaled = tiny * opaque(1e10);               // denormal operand, normal result
  }
  EXPECT_EQ(opaque(1e-200) * opaque(1e-110), 1e-310) << "the scope must end with the block";
#if defined(__SSE__) || defined(__x86_64__) || defined(__aarch64__)
  EXPECT_EQ(insideProduct, 0.0);
#else
  EXPECT_EQ(insideProduct, 1e-310);
#endif
#if defined(__aarch64__)
  EXPECT_EQ(insideScaled, 0.0);
#else
  EXPECT_EQ(insideScaled, tiny * opaque(1e10));
  EXPECT_GT(insideScaled, 0.9e-300);
#endif
}
