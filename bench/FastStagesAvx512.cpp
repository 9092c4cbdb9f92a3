// Kernel stages with AVX-512 (see FastStagesKernel.h).
#if defined(__x86_64__) || defined(__i386__)
#define FAST_CHAIN_ENTRY benchKernelAvx512
#define FAST_CHAIN_LANES 8
#define FAST_STAGES_NAME fastStagesAvx512
#define FAST_STAGES_ISA "avx512"
#include "bench/FastStagesKernel.h"
#endif
