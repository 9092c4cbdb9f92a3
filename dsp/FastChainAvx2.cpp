// The fast engine in 256-bit AVX2 registers, chosen at run time on processors
// that have it. No FMA: a fused multiply-add rounds once and would change bits.
#if defined(__x86_64__) || defined(__i386__)
#pragma GCC target("avx2,no-fma")
#define FAST_CHAIN_ENTRY runAvx2
#include "dsp/FastChainKernel.h"
#endif
