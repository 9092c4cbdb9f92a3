// The fast engine with AVX-512: each eight-section pipeline in one 512-bit
// register, 32 vector registers. Chosen at run time on processors that have
// it. No FMA: a fused multiply-add rounds once and would change bits.
#if defined(__x86_64__) || defined(__i386__)
#pragma GCC target("avx512f,avx512vl,avx512dq,no-fma")
#define FAST_CHAIN_ENTRY runAvx512
#define FAST_CHAIN_LANES 8
#include "dsp/FastChainKernel.h"
#endif
