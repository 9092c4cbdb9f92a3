// The oversampling filter's state row and step for the fast kernels, in the
// lane width's own layout (FAST_CHAIN_LANES, dsp/FastLanes.h). Every lane
// performs exactly the scalar operations of oversamplingStep, so the layout
// changes speed only. Internal to FastChainKernel.h.
#pragma once

#include "dsp/FastLanes.h"

namespace {

// The fifth-order oversampling low-pass
//   y = f0 v + s0;  s_k = (f_(k+1) v + c_(k+1) y) + s_(k+1),  k = 0..4
// s5 is never written. Lane k of a vector updates s_k: with 512-bit
// registers the whole row is one vector (fewest instructions); with 256-bit
// ones s0 stays a scalar and s1..s4 fill one register (an eight-lane row
// would take two).
#if FAST_CHAIN_LANES == 8

struct OversamplingRow {
  V8 s;  // s0 .. s4; lanes 5..7 hold nothing that is read back
  double s5;

  void load(const double* r) {
    s = V8{r[0], r[1], r[2], r[3], r[4], 0.0, 0.0, 0.0};
    s5 = r[5];
  }
  void store(double* r) const {
    for (int i = 0; i < 5; ++i) r[i] = s[i];
  }
};

struct OversamplingCoefs {
  double f0;
  V8 c, f;  // c1..c5, f1..f5

  void load(const double* feedback, const double* feedforward) {
    f0 = feedforward[0];
    c = V8{feedback[0], feedback[1], feedback[2], feedback[3], feedback[4], 0.0, 0.0, 0.0};
    f = V8{feedforward[1],
           feedforward[2],
           feedforward[3],
           feedforward[4],
           feedforward[5],
           0.0,
           0.0,
           0.0};
  }

  // [s1, s2, s3, s4, s5, ...]: the entry each of s0..s4 adds.
  static FAST_INLINE V8 next(const OversamplingRow& r) {
    return __builtin_shufflevector(r.s, splat8(r.s5), 1, 2, 3, 4, 8, 8, 8, 8);
  }

  FAST_INLINE double step(OversamplingRow& r, double v) const {
    const double y = f0 * v + r.s[0];
    r.s = (f * splat8(v) + c * splat8(y)) + next(r);
    return y;
  }

  // The same step for v = 0, without the f*0 terms.
  FAST_INLINE double stepZeroInput(OversamplingRow& r) const {
    const double y = r.s[0];
    r.s = c * splat8(y) + next(r);
    return y;
  }
};

#else

struct OversamplingRow {
  double s0;
  V4 s14;  // s1, s2, s3, s4
  double s5;

  void load(const double* r) {
    s0 = r[0];
    s14 = V4{r[1], r[2], r[3], r[4]};
    s5 = r[5];
  }
  void store(double* r) const {
    r[0] = s0;
    for (int i = 0; i < 4; ++i) r[1 + i] = s14[i];
  }
};

struct OversamplingCoefs {
  double c1, f0, f1;
  V4 c25, f25;  // c2..c5, f2..f5

  void load(const double* feedback, const double* feedforward) {
    c1 = feedback[0];
    f0 = feedforward[0];
    f1 = feedforward[1];
    c25 = V4{feedback[1], feedback[2], feedback[3], feedback[4]};
    f25 = V4{feedforward[2], feedforward[3], feedforward[4], feedforward[5]};
  }

  // [s2, s3, s4, s5]: the entries each of s1..s4 adds.
  static FAST_INLINE V4 next(const OversamplingRow& r) {
    return __builtin_shufflevector(r.s14, splat4(r.s5), 1, 2, 3, 4);
  }

  FAST_INLINE double step(OversamplingRow& r, double v) const {
    const double y = f0 * v + r.s0;
    r.s0 = (f1 * v + c1 * y) + r.s14[0];
    r.s14 = (f25 * splat4(v) + c25 * splat4(y)) + next(r);
    return y;
  }

  // The same step for v = 0, without the f*0 terms.
  FAST_INLINE double stepZeroInput(OversamplingRow& r) const {
    const double y = r.s0;
    r.s0 = c1 * y + r.s14[0];
    r.s14 = c25 * splat4(y) + next(r);
    return y;
  }
};

#endif

}  // namespace
