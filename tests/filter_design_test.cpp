#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <string>

#include "dsp/IIRFilter.h"

// The coefficients of the sections the effect uses are pinned through the
// module by the voicing tests (against an independent model of the circuit);
// here: every section type's landmarks and the sanitising of its inputs.

namespace {

// |H| at f Hz from the stored coefficients: (-a1, -a2, b0, b1, b2), or (1-p, 0, p, 0, 0).
double magnitude(const IIRFilter& s, double f, double rate = 44100) {
  const std::complex<double> z = std::polar(1.0, -2.0 * M_PI * f / rate);
  if (!s.biquad) return std::abs(s.coef[0] / (1.0 - s.coef[2] * z));
  return std::abs((s.coef[2] + s.coef[3] * z + s.coef[4] * z * z) /
                  (1.0 - s.coef[0] * z - s.coef[1] * z * z));
}

}  // namespace

TEST(FilterDesign, SanitisesFrequencyAndQAndWritesThemBack) {
  struct Case {
    double frq, q, cleanFrq, cleanQ;
  };
  for (const Case c : {Case{1000, 0, 1000, 1}, Case{1000, NAN, 1000, 1}, Case{0, 0.7, 20, 0.7},
                       Case{-5, -1, 20, 1}, Case{30000, 0.7, 22050, 0.7}}) {
    filterPrm_tag prm{6, c.frq, 0, 0, c.q, 0, 44100};
    IIRFilter s(&prm);
    EXPECT_TRUE(prm.frq == c.cleanFrq && prm.q == c.cleanQ) << c.frq << " " << c.q;
  }
}

TEST(FilterDesign, MagnitudeAtDcCornerAndNyquist) {
  const double boost = std::pow(10.0, 9.0 / 20), half = std::sqrt(0.5);
  struct Case {
    int32_t num;
    double frq, gain, dc, atFrq, nyquist;
  };  // a negative value is not checked
  const Case cases[] = {{0, 1000, 0, 1, half, 0},
                        {1, 1000, 0, 0, half, 1},
                        {2, 1000, 0, 1, half, 0},
                        {3, 1000, 0, 0, half, 1},
                        {6, 1000, 0, 1, half, 0},
                        {7, 1000, 0, 0, half, 1},
                        {8, 1000, 0, 0, 1, 0},
                        {9, 1000, 0, 1, 0, 1},
                        {10, 1000, 9, 1, boost, 1},
                        {10, 1000, 0, 1, 1, 1},
                        {11, 1000, 9, boost, -1, 1},
                        {12, 22000, -27, 1, -1, std::pow(10.0, -27.0 / 20)},
                        {13, 1000, 0, 1, std::sqrt(0.5011872337), -1},
                        {-1, 1000, 0, 1, -1, -1}};
  for (const Case& c : cases) {
    filterPrm_tag prm{c.num, c.frq, 0, 0, 1, c.gain, 44100};
    const IIRFilter s(&prm);
    EXPECT_EQ(s.biquad != 0, c.num >= 0 && c.num <= 12);
    const double f[3] = {0, c.frq, 22050}, want[3] = {c.dc, c.atFrq, c.nyquist};
    for (int i = 0; i < 3; ++i)
      EXPECT_NEAR(want[i] < 0 ? -1 : magnitude(s, f[i]), want[i], 1e-9) << c.num << " at " << f[i];
  }
  filterPrm_tag flat{10,  3000, 0,    0,
                     0.7, 0.0,  44100};  // peaking at 0 dB: numerator equals denominator
  const IIRFilter unity(&flat);
  EXPECT_TRUE(unity.coef[2] == 1.0 && unity.coef[3] == -unity.coef[0] &&
              unity.coef[4] == -unity.coef[1]);
  EXPECT_EQ(unity.pi, 0x1.921FB54442D1Ap+1);  // bits 0x400921FB54442D1A
}

// The stage tables' sections at the lowest and highest rates a host may set
// (the post cascade runs at four times the rate): each frequency is designed
// at min(frq, rate/2) and keeps its landmarks; one clamped to exactly half
// the rate leaves low-pass and high shelf practically transparent.
TEST(FilterDesign, StageSectionsAtExtremeRatesHonourTheHalfRateLimit) {
  struct Section {
    int32_t num;
    double frq, q, gain;
  };
  const Section sections[] = {{12, 20000, 0.95, -27.5}, {1, 10, 1, 0},      {10, 120, 1.4, 3},
                              {0, 20000, 1, 0},         {12, 21000, 1, -3}, {1, 50, 1, 0},
                              {10, 1550, 0.8, -4.5},    {12, 12000, 1, 23}, {0, 265, 1, 0}};
  for (double rate : {62.5, 100.0, 250.0, 400.0, 500.0, 999.0, 3996.0, 2e6, 4e6, 8e6, 16e6}) {
    for (const Section& c : sections) {
      filterPrm_tag prm{c.num, c.frq, 0, 0, c.q, c.gain, rate};
      const IIRFilter s(&prm);
      const double nyquist = rate / 2, v = std::pow(10.0, c.gain / 20);
      ASSERT_EQ(prm.frq, std::min(c.frq, nyquist)) << c.num << " at " << rate;
      for (double k : s.coef)
        ASSERT_TRUE(std::isfinite(k)) << c.num << "/" << c.frq << " at " << rate;
      const double dc = magnitude(s, 0, rate), atFrq = magnitude(s, prm.frq, rate),
                   top = magnitude(s, nyquist, rate);
      const std::string where =
          std::to_string(c.num) + "/" + std::to_string(c.frq) + " at " + std::to_string(rate);
      if (c.frq >= nyquist) {
        if (c.num == 0 || c.num == 12) {
          EXPECT_NEAR(magnitude(s, rate / 8, rate), 1.0, 1e-6) << where;
        }
        continue;
      }
      // Unity in the pass band (at Nyquist for the high-pass); the landmark
      // at the corner, or the shelf's gain at Nyquist.
      const double landmark = c.num <= 1 ? std::sqrt(0.5) : v;
      EXPECT_NEAR(c.num == 1 ? top : dc, 1, c.num == 10 ? 1e-6 : 1e-9) << where;
      EXPECT_NEAR(c.num == 12 ? top : atFrq, landmark, 1e-6 * (c.num <= 1 ? 1 : v)) << where;
    }
  }
}
