#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "dsp/IIRFilter.h"

namespace {

filterPrm_tag record(int32_t num, double frq, double q = 1.0, double gain = 0.0) {
  return {num, frq, 0.0, 0.0, q, gain, 44100.0};
}

std::vector<double> run(IIRFilter& s, const std::vector<double>& in, bool gliding = false) {
  std::vector<double> out(in);
  for (double& x : out) gliding ? s.ipIirProcessing(&x) : s.iirProcessing(&x);
  return out;
}

const std::vector<double> kBurst = {1.0, -0.5, 0.25, 0.8, -1.0, 0.0, 0.0, 0.3, 0.0, 0.0};

}  // namespace

TEST(FilterRuntime, MatchesTheDifferenceEquation) {
  for (int32_t num : {0, 3, 10, 12, 13}) {
    filterPrm_tag prm = record(num, 1500, 0.9, 4.0);
    IIRFilter s(&prm);
    const double b[3] = {s.coef[2], s.coef[3], s.coef[4]}, a[3] = {1.0, -s.coef[0], -s.coef[1]};
    const std::vector<double> out = run(s, kBurst);
    for (size_t n = 0; n < kBurst.size(); ++n) {
      double y = 0.0;
      if (num == 13) {  // y[n] = (1-p) x[n] + p y[n-1]
        y = s.coef[0] * kBurst[n] + (n ? s.coef[2] * out[n - 1] : 0.0);
      } else {
        for (size_t k = 0; k < 3 && k <= n; ++k) y += b[k] * kBurst[n - k] - (k ? a[k] * out[n - k] : 0);
      }
      EXPECT_NEAR(out[n], y, 1e-14) << "code " << num << " n " << n;
    }
  }
  // LP1 at a quarter of the rate (K = 1): b0 = b1 = 0.5, a1 = 0.
  filterPrm_tag quarter = record(0, 11025);
  IIRFilter lp(&quarter);
  const std::vector<double> impulse = run(lp, {1, 0, 0, 0});
  const double want[4] = {0.5, 0.5, 0, 0};
  for (int n = 0; n < 4; ++n) EXPECT_NEAR(impulse[n], want[n], 1e-15);
}

TEST(FilterRuntime, DelayStateAcrossRedesignsAndRefresh) {
  filterPrm_tag prm = record(10, 1000, 1.0, 6.0);
  IIRFilter s(&prm);
  run(s, kBurst);
  const double z1 = s.z1, z2 = s.z2;
  prm = record(10, 1800, 0.5, -3.0);  // same code: retuned, state kept
  s.FDexcute(&prm);
  EXPECT_EQ(s.z1, z1);
  EXPECT_EQ(s.z2, z2);
  prm = record(9, 1800);  // another code: state cleared
  s.FDexcute(&prm);
  EXPECT_EQ(s.z1, 0.0);
  EXPECT_EQ(s.z2, 0.0);
  run(s, kBurst);
  s.refresh();  // the next output depends on the next input only
  double x = 0.7;
  s.iirProcessing(&x);
  EXPECT_EQ(x, s.coef[2] * 0.7);
  // A code whose low 16 bits are -1 still starts from zero state.
  filterPrm_tag minusOne = record(0xFFFF, 300);
  const IIRFilter fresh(&minusOne);
  EXPECT_EQ(fresh.z1, 0.0);
  EXPECT_EQ(fresh.lastNum, -1);
}

TEST(FilterRuntime, GlideTimelineAndEnd) {
  filterPrm_tag prm = record(10, 500, 1.0, 6.0);
  IIRFilter s(&prm);
  const double oldB0 = s.coef[2];
  prm = record(10, 4000, 1.0, -6.0);
  s.ipFDexcute(&prm, 4);
  EXPECT_EQ(s.ipLen, 4.0);
  const double wantPos[6] = {1, 2, 3, 4, 5, 5};
  for (int call = 0; call < 6; ++call) {
    s.refresh();  // with zero state and x = 1, the output is the b0 in use
    double x = 1.0;
    const double t = s.ipPos;
    const double b0 = s.ipDelta[2] * t + s.ipStart[2];
    s.ipIirProcessing(&x);
    EXPECT_EQ(x, call == 0 ? oldB0 : call == 5 ? s.coef[2] : b0) << "call " << call + 1;
    EXPECT_EQ(s.ipPos, wantPos[call]);
  }
  EXPECT_EQ(std::memcmp(s.ipStart, s.coef, sizeof s.coef), 0);
  for (double d : s.ipDelta) EXPECT_EQ(d, 0.0);
  // n = 1: the increment is the whole step; a new glide starts from the target.
  const double target[5] = {s.coef[0], s.coef[1], s.coef[2], s.coef[3], s.coef[4]};
  prm = record(10, 200, 2.0, 3.0);
  s.ipFDexcute(&prm, 1);
  for (int k = 0; k < 5; ++k) {
    EXPECT_EQ(s.ipStart[k], target[k]);
    EXPECT_EQ(s.ipDelta[k], s.coef[k] - target[k]);
  }
}

TEST(FilterRuntime, GlideBetweenEqualSetsIsBitExact) {
  for (int32_t num : {3, 13}) {
    filterPrm_tag prm = record(num, 2500, 0.8);
    IIRFilter fixed(&prm), gliding(&prm);
    gliding.ipFDexcute(&prm, 3);
    const std::vector<double> a = run(fixed, kBurst), b = run(gliding, kBurst, true);
    EXPECT_EQ(std::memcmp(a.data(), b.data(), a.size() * sizeof(double)), 0) << num;
  }
  // A one-pole with p = 0.9 settles on 1.0 for a constant 1.0.
  filterPrm_tag prm = record(13, 100);
  IIRFilter s(&prm);
  s.coef[0] = 1.0 - 0.9;
  s.coef[2] = 0.9;
  EXPECT_NEAR(run(s, std::vector<double>(400, 1.0)).back(), 1.0, 1e-15);
}
