// The multi-stream kernel with four lanes in 256-bit AVX2 registers. Compiled
// with -mavx2 -mno-fma and chosen at run time on processors with AVX2 but
// without AVX-512. No FMA: a fused multiply-add rounds once and would change bits.
#if defined(__x86_64__)
#define LANE_KERNEL_ENTRY runLanesAvx2
#define LANE_KERNEL_WIDTH 4
#include "dsp/multistream/LaneKernel.h"
#endif
