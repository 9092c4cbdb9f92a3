// The fast per-sample engine. Until the scheduled engine lands it runs the
// plain chain, so both engines give identical output by construction.
#include "effect/VELTRAX.h"

void VELTRAX::runSignalChainFast(const double* in, double* out, int32_t n, const ControlRamps& ramps) {
  runSignalChain(in, out, n, ramps);
}
