#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>

#include "dsp/IIRFilter.h"

namespace {

filterPrm_tag record(int32_t num, double frq, double q, double gain, double sampleRate) {
  return {num, frq, 0.0, 0.0, q, gain, sampleRate};
}

// |H| at frequency f from the stored coefficients (biquad sections).
double magnitude(const IIRFilter& s, double f, double sampleRate) {
  const std::complex<double> z1 = std::polar(1.0, -2.0 * M_PI * f / sampleRate), z2 = z1 * z1;
  return std::abs((s.coef[2] + s.coef[3] * z1 + s.coef[4] * z2) /
                  (1.0 - s.coef[0] * z1 - s.coef[1] * z2));
}

}  // namespace

TEST(FilterDesign, ReproducesReferenceDesigns) {
  struct Case { int32_t num; double frq, q, gain, sampleRate, b0, b1, b2, a1, a2; };
  const Case cases[] = {
      {10, 120, 1.4, 3, 44100, 1.00250359, -1.987571958, 0.9853588983, -1.987571958, 0.987862488},
      {10, 2000, 1.4, -6, 44100, 0.9167544123, -1.599034963, 0.7494706994, -1.599034963,
       0.6662251117},
      {12, 20000, 1, -27.5, 44100, 0.8771822757, 0.8663678752, 0, 0.7435501509, 0},
      {1, 10, 1, 0, 44100, 0.9992881277, -0.9992881277, 0, -0.9985762554, 0},
      {0, 20000, 1, 0, 176400, 0.2711682918, 0.2711682918, 0, -0.4576634165, 0},
      {13, 100, 1, 0, 44100, 0.9858202786, 0, 0, -0.01417972144, 0},  // p and 1-p
  };
  for (const Case& c : cases) {
    filterPrm_tag prm = record(c.num, c.frq, c.q, c.gain, c.sampleRate);
    const IIRFilter s(&prm);
    const double got[5] = {s.coef[2], s.coef[3], s.coef[4], -s.coef[0], -s.coef[1]};
    const double want[5] = {c.b0, c.b1, c.b2, c.a1, c.a2};
    for (int k = 0; k < 5; ++k)
      EXPECT_NEAR(got[k], want[k], 5e-10 * std::fabs(want[k])) << "code " << c.num << " slot " << k;
  }
}

TEST(FilterDesign, SanitisesAndWritesBackFrequencyAndQ) {
  struct Case { double frq, q, wantFrq; };
  const Case cases[] = {{1000, 0, 1000}, {1000, -2, 1000}, {1000, NAN, 1000},
                        {0, 0.7, 20}, {-5, 0.7, 20}, {NAN, 0.7, 20}, {30000, 0.7, 22050}};
  for (const Case& c : cases) {
    filterPrm_tag prm = record(6, c.frq, c.q, 0, 44100);
    const IIRFilter s(&prm);
    filterPrm_tag clean = record(6, c.wantFrq, c.q > 0 ? c.q : 1.0, 0, 44100);
    const IIRFilter reference(&clean);
    EXPECT_EQ(prm.frq, c.wantFrq);
    EXPECT_EQ(prm.q, c.q > 0 ? c.q : 1.0);
    EXPECT_EQ(std::memcmp(s.coef, reference.coef, sizeof s.coef), 0) << c.frq << " " << c.q;
  }
  filterPrm_tag any = record(0, 1000, 1, 0, 44100);
  const IIRFilter s(&any);
  uint64_t bits;
  std::memcpy(&bits, &s.pi, sizeof bits);
  EXPECT_EQ(bits, 0x400921FB54442D1Au);
}

TEST(FilterDesign, MagnitudeResponsesOfTheBiquadCodes) {
  const double fs = 48000, f = 1000;
  struct Case { int32_t num; double gain, dc, atFrq, nyquist; };
  const double V = std::pow(10.0, 9.0 / 20.0), half = std::sqrt(0.5);
  const Case cases[] = {{0, 0, 1, half, 0}, {1, 0, 0, half, 1},  {2, 0, 1, half, 0},
                        {3, 0, 0, half, 1}, {8, 0, 0, 1, 0},     {9, 0, 1, 0, 1},
                        {10, 9, 1, V, 1},   {10, -9, 1, 1 / V, 1}, {11, 9, V, -1, 1},
                        {12, 9, 1, -1, V},  {12, -27, 1, -1, 1 / std::pow(10.0, 27.0 / 20)}};
  for (const Case& c : cases) {
    filterPrm_tag prm = record(c.num, f, 1.0, c.gain, fs);
    const IIRFilter s(&prm);
    EXPECT_NEAR(magnitude(s, 0, fs), c.dc, 1e-9) << c.num;
    EXPECT_NEAR(magnitude(s, fs / 2, fs), c.nyquist, 1e-9) << c.num;
    if (c.atFrq >= 0) {
      EXPECT_NEAR(magnitude(s, f, fs), c.atFrq, 1e-9) << c.num;
    }
  }
  // Band edges 500 and 2000 Hz: pass/stop at the prewarped centre sqrt(K2*K3).
  for (int32_t num : {4, 5}) {
    filterPrm_tag prm{num, 1000, 500, 2000, 1, 0, fs};
    const IIRFilter s(&prm);
    const double K = std::sqrt(std::tan(M_PI * 500 / fs) * std::tan(M_PI * 2000 / fs));
    const double centre = std::atan(K) * fs / M_PI;
    EXPECT_NEAR(magnitude(s, centre, fs), num == 4 ? 1 : 0, 1e-9);
    EXPECT_NEAR(magnitude(s, 0, fs), num == 4 ? 0 : 1, 1e-9);
  }
}

TEST(FilterDesign, ExactIdentitiesBetweenCodes) {
  auto design = [](int32_t num, double gain, double q = 1.0, double frq = 3000) {
    filterPrm_tag prm = record(num, frq, q, gain, 44100);
    return IIRFilter(&prm);
  };
  // Peaking at 0 dB: numerator equals denominator.
  const IIRFilter unity = design(10, 0.0, 0.7);
  EXPECT_EQ(unity.coef[2], 1.0);
  EXPECT_EQ(unity.coef[3], -unity.coef[0]);
  EXPECT_EQ(unity.coef[4], -unity.coef[1]);
  // q = 1 in the damped designs is the Butterworth pair.
  EXPECT_EQ(std::memcmp(design(6, 0).coef, design(2, 0).coef, 40), 0);
  EXPECT_EQ(std::memcmp(design(7, 0).coef, design(3, 0).coef, 40), 0);
  // A cut inverts the boost of the same size.
  const IIRFilter boost = design(10, 7.5, 0.6), cut = design(10, -7.5, 0.6);
  for (double f : {50.0, 3000.0, 15000.0})
    EXPECT_NEAR(magnitude(boost, f, 44100) * magnitude(cut, f, 44100), 1.0, 1e-12);
  // At half the sample rate pole and zero of LP1 and the high shelf cancel.
  for (int32_t num : {0, 12})
    EXPECT_NEAR(magnitude(design(num, -6, 1, 30000), 1000, 44100), 1.0, 1e-9) << num;
}

TEST(FilterDesign, CodesOutsideTheTableGiveTheOnePole) {
  struct Case { int32_t num; int16_t code; int32_t biquad; };
  const Case cases[] = {{13, 13, 0}, {-1, -1, 0}, {0xFFFF, -1, 0}, {0x1000A, 10, 1}, {12, 12, 1}};
  for (const Case& c : cases) {
    filterPrm_tag prm = record(c.num, 1000, 1, 3, 44100);
    const IIRFilter s(&prm);
    EXPECT_EQ(s.num, c.code);
    EXPECT_EQ(s.biquad, c.biquad);
  }
  // The one-pole's squared magnitude is 10^(-3/10) at frq and its DC gain 1.
  filterPrm_tag prm = record(200, 1000, 1, 0, 44100);
  const IIRFilter s(&prm);
  const double p = s.coef[2];
  const std::complex<double> z1 = std::polar(1.0, -2.0 * M_PI * 1000 / 44100);
  EXPECT_NEAR(std::norm(s.coef[0] / (1.0 - p * z1)), 0.5011872337, 1e-12);
  EXPECT_EQ(s.coef[0] / (1.0 - p), 1.0);
}
