// Stages of the fast kernel on their own, for the per-stage benchmarks:
// the cascade pipelines (pre, power and revise, eight lanes each) and the
// oversampled clipping section, each over n samples from a chain state and
// block made from the effect's own designs (StageBench.cpp).
#pragma once

#include <cstddef>

#include "dsp/FastChainState.h"

namespace veltrax::bench {

using StageRun = void (*)(fast::ChainState& state, const fast::Block& block, const double* in,
                          double* out, size_t n);

struct FastStages {
  const char* isa;
  StageRun cascades;  // both eight-lane pipelines, one step per sample
  StageRun clipper;   // interpolation, shaper and decimation, one sample per step
};

#if defined(__x86_64__) || defined(__i386__)
FastStages fastStagesAvx512();
FastStages fastStagesAvx2();
#endif

}  // namespace veltrax::bench
