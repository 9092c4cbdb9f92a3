// The multi-stream kernel with eight lanes in 512-bit registers. Compiled
// with -mavx512f -mavx512vl -mavx512dq -mno-fma and chosen at run time on
// processors that have them. No FMA: a fused multiply-add rounds once and
// would change bits.
#if defined(__x86_64__)
#define LANE_KERNEL_ENTRY runLanesAvx512
#define LANE_KERNEL_WIDTH 8
#include "dsp/multistream/LaneKernel.h"
#endif
