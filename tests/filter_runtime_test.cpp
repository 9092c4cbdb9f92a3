#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "dsp/IIRFilter.h"

namespace {

filterPrm_tag rec(int32_t num, double frq, double gain = 0.0) {
  return {num, frq, 0.0, 0.0, 0.9, gain, 44100.0};
}

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

TEST(FilterRuntime, GlideBetweenEqualSetsIsBitExact) {
  for (int32_t num : {3, 13}) {
    filterPrm_tag prm = rec(num, 2500);
    IIRFilter fixed(&prm), gliding(&prm);
    gliding.ipFDexcute(&prm, 3);
    const std::vector<double> a = run(fixed), b = run(gliding, true);
    EXPECT_EQ(std::memcmp(a.data(), b.data(), a.size() * sizeof(double)), 0) << num;
  }
}
