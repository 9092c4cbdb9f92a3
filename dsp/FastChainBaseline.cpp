// The fast engine for the instruction set the build targets (SSE2 on x86):
// the fallback of the run-time dispatch.
#define FAST_CHAIN_ENTRY runBaseline
#include "dsp/FastChainKernel.h"
