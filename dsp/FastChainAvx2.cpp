// The fast engine in 256-bit AVX2 registers (each eight-section pipeline in
// two of them). Compiled with -mavx2 -mno-fma (cmake/InstructionSets.cmake) and
// chosen at run time on processors that have AVX2 but not AVX-512. No FMA: a
// fused multiply-add rounds once and would change bits.
#if defined(__x86_64__) || defined(__i386__)
#define FAST_CHAIN_ENTRY runAvx2
#define FAST_CHAIN_LANES 4
#include "dsp/FastChainKernel.h"
#endif
