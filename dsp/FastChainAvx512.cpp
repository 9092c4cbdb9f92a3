// The fast engine with AVX-512: each eight-section pipeline and each
// oversampling row in one 512-bit register, 32 vector registers. Compiled
// with -mavx512f -mavx512vl -mavx512dq -mno-fma (cmake/InstructionSets.cmake) and
// chosen at run time on processors that have them. No FMA: a fused
// multiply-add rounds once and would change bits.
#if defined(__x86_64__) || defined(__i386__)
#define FAST_CHAIN_ENTRY runAvx512
#define FAST_CHAIN_LANES 8
#include "dsp/FastChainKernel.h"
#endif
