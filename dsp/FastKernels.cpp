// The fast kernels this processor runs, and the check that a chain state
// suits them. Pure DSP: the effect's adapter (dsp/chain/FastSignalChain.cpp)
// decides per block.
#include <initializer_list>

#include "dsp/CpuFeatures.h"
#include "dsp/FastChainState.h"

namespace veltrax::fast {

int supportedKernels(KernelChoice* choices, int capacity) {
  KernelChoice all[2];
  int count = 0;
#if defined(__x86_64__) || defined(__i386__)
  if (cpuHasAvx512()) all[count++] = {"avx512", runAvx512};
  if (cpuHasAvx2()) all[count++] = {"avx2", runAvx2};
#endif
  for (int i = 0; i < count && i < capacity; ++i) choices[i] = all[i];
  return count;
}

// z2 = b2 x - a2 y is a zero for finite x and y when b2 = a2 = 0. With
// |a1| <= 1 and coefficients and z1 below 1e6, |z1| grows at most linearly
// from the clamped input (|x| <= 1), far below the largest double for any
// block length, so x and y stay finite.
bool postCascadeIsFirstOrder(const ChainState& st) {
  constexpr double kModerate = 1e6;
  for (const PostSection& s : st.post) {
    if (!(s.coef[1] == 0.0 && s.coef[4] == 0.0 && s.z2 == 0.0)) return false;
    if (!(s.coef[0] >= -1.0 && s.coef[0] <= 1.0)) return false;
    for (double c : {s.coef[2], s.coef[3], s.z1})
      if (!(c >= -kModerate && c <= kModerate)) return false;
  }
  return true;
}

}  // namespace veltrax::fast
