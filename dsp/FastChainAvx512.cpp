// The fast engine with AVX-512 (VL: 256-bit vectors with 32 registers and
// masked blends), chosen at run time on processors that have it. No FMA.
#if defined(__x86_64__) || defined(__i386__)
#pragma GCC target("avx512f,avx512vl,avx512dq,no-fma")
#define FAST_CHAIN_ENTRY runAvx512
#include "dsp/FastChainKernel.h"
#endif
