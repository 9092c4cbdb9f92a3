// What the On/Off switch does over a stretch of one block, from its prepared
// gains and path flags (see veltrax::fast::SwitchPath). Included by the
// kernels, which are compiled once per instruction set: the function has
// internal linkage, so no copy built for one instruction set can stand in for
// another's.
#pragma once

#include "dsp/FastChainState.h"

namespace {

// Samples [0, n) of gains and pathFlags, eight per round (masks combined
// lane by lane), the rest one by one.
inline veltrax::fast::SwitchPath switchPathOver(const double* gains, const float* pathFlags,
                                                int n) {
  typedef double D4 __attribute__((vector_size(32)));
  typedef long long M4 __attribute__((vector_size(32)));
  typedef float F8 __attribute__((vector_size(32)));
  typedef int M8 __attribute__((vector_size(32)));
  const D4 unitGain = {1.0, 1.0, 1.0, 1.0};
  const F8 unitFlag = {1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 1.0f};
  M4 unit = {-1, -1, -1, -1};
  M8 wet = {-1, -1, -1, -1, -1, -1, -1, -1}, dry = wet;
  int j = 0;
  for (; j + 8 <= n; j += 8) {
    D4 g0, g1;
    F8 f;
    __builtin_memcpy(&g0, gains + j, sizeof g0);
    __builtin_memcpy(&g1, gains + j + 4, sizeof g1);
    __builtin_memcpy(&f, pathFlags + j, sizeof f);
    unit &= (g0 == unitGain) & (g1 == unitGain);
    wet &= f == unitFlag;
    dry &= f != unitFlag;
  }
  bool allUnit = true, allWet = true, allDry = true;
  for (int k = 0; k < 8; ++k) {
    allWet &= wet[k] != 0;
    allDry &= dry[k] != 0;
  }
  for (int k = 0; k < 4; ++k) allUnit &= unit[k] != 0;
  for (; j < n; ++j) {
    allUnit &= gains[j] == 1.0;
    allWet &= pathFlags[j] == 1.0f;
    allDry &= pathFlags[j] != 1.0f;
  }
  if (allDry) return veltrax::fast::SwitchPath::dry;
  if (allWet && allUnit) return veltrax::fast::SwitchPath::wet;
  return veltrax::fast::SwitchPath::mixed;
}

}  // namespace
