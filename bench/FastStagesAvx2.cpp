// Kernel stages with AVX2 (see FastStagesKernel.h).
#if defined(__x86_64__) || defined(__i386__)
#define FAST_CHAIN_ENTRY benchKernelAvx2
#define FAST_CHAIN_LANES 4
#define FAST_STAGES_NAME fastStagesAvx2
#define FAST_STAGES_ISA "avx2"
#include "bench/FastStagesKernel.h"
#endif
