// The per-stage runs of FastStages.h, built from the kernel's own pieces.
// Included once per instruction set, compiled with that set switched on like
// the kernel itself; FAST_STAGES_NAME names the exported getter.
#include "bench/FastStages.h"
#include "dsp/FastChainKernel.h"

namespace {

void cascadeStage(ChainState& st, const Block& block, const double* in, double* out, size_t n) {
  Engine e(st, block);
  for (size_t i = 0; i < n; ++i) {
    const double powerOut = e.a.y[7];
    e.r.advance<false>(shiftIn(e.r.y, powerOut), e.r.k, 0, 0.0);
    e.a.advance<false>(shiftIn(e.a.y, in[i], e.a.y[3]), e.glide.after, 0, 0.0);
    out[i] = e.r.y[7];
  }
}

void clipperStage(ChainState& st, const Block& block, const double* in, double* out, size_t n) {
  Engine e(st, block);
  Clipper4x& c = e.clipper;
  for (size_t i = 0; i < n; ++i) {
    out[i] = c.decimate(e.shaped);
    for (int pass = 0; pass < 4; ++pass) e.shaped[pass] = c.shape(e.interpolated[pass]);
    c.interpolate(in[i], e.interpolated);
  }
}

}  // namespace

namespace veltrax::bench {

FastStages FAST_STAGES_NAME() { return {FAST_STAGES_ISA, cascadeStage, clipperStage}; }

}  // namespace veltrax::bench
