#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "dsp/IIRFilter.h"

namespace {

filterPrm_tag rec(int32_t num, double frq, double gain = 0.0) { return {num, frq, 0.0, 0.0, 0.9, gain, 44100.0}; }

std::vector<double> run(IIRFilter& s, bool gliding = false) {
  std::vector<double> out = {1.0, -0.5, 0.25, 0.8, -1.0, 0.0, 0.0, 0.3, 0.0, 0.0};
  for (double& x : out) gliding ? s.ipIirProcessing(&x) : s.iirProcessing(&x);
  return out;
}

}  // namespace

TEST(FilterRuntime, StateSurvivesRetuningButNotACodeChange) {
  filterPrm_tag prm = rec(10, 1000, 6.0);
  IIRFilter s(&prm);
  run(s);
  const double z1 = s.z1, z2 = s.z2;
  prm = rec(10, 1800, -3.0);
  s.FDexcute(&prm);
  EXPECT_TRUE(s.z1 == z1 && s.z2 == z2 && z1 != 0.0);
  prm = rec(9, 1800);
  s.FDexcute(&prm);
  EXPECT_TRUE(s.z1 == 0.0 && s.z2 == 0.0);
}

TEST(FilterRuntime, GlideTimelineOverFourSamples) {
  filterPrm_tag prm = rec(10, 500, 6.0);
  IIRFilter s(&prm);
  const double oldB0 = s.coef[2];
  prm = rec(10, 4000, -6.0);
  s.ipFDexcute(&prm, 4);
  for (int call = 0; call < 6; ++call) {
    s.refresh();  // zero state and x = 1: the output is the b0 in use
    double x = 1.0;
    const double b0 = call == 0 ? oldB0 : call == 5 ? s.coef[2] : s.ipDelta[2] * call + s.ipStart[2];
    s.ipIirProcessing(&x);
    EXPECT_EQ(x, b0) << "call " << call + 1;
    EXPECT_EQ(s.ipPos, call < 5 ? call + 1 : 5);
  }
  EXPECT_EQ(std::memcmp(s.ipStart, s.coef, sizeof s.coef), 0);  // ended on exactly the new set
}

TEST(FilterRuntime, GlideBetweenEqualSetsIsBitExact) {
  for (int32_t num : {3, 13}) {
    filterPrm_tag prm = rec(num, 2500);
    IIRFilter fixed(&prm), gliding(&prm);
    gliding.ipFDexcute(&prm, 3);
    const std::vector<double> a = run(fixed), b = run(gliding, true);
    EXPECT_EQ(std::memcmp(a.data(), b.data(), a.size() * sizeof(double)), 0) << num;
  }
}
