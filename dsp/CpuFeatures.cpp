#include "dsp/CpuFeatures.h"

namespace veltrax {

#if defined(__x86_64__) || defined(__i386__)

bool cpuHasAvx2() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2");
}

bool cpuHasAvx512() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
         __builtin_cpu_supports("avx512dq");
}

#else

bool cpuHasAvx2() { return false; }
bool cpuHasAvx512() { return false; }

#endif

}  // namespace veltrax
