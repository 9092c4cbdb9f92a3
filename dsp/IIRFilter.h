// One first- or second-order recursive filter section: design record, stored
// coefficients and delay state, and the per-sample operations (fixed and
// gliding coefficients). The coefficient maths lives in FilterDesign.h.
#pragma once

#include <cstdint>

// Design record for one section. The design writes the sanitised `frq` and `q`
// back into it, so the caller hands over a record it owns and may see changed.
struct filterPrm_tag {
  int32_t num;        // type code; only the low 16 bits count, as a signed value
  double frq;         // corner, centre or shelf frequency, Hz
  double frqLow;      // lower band edge, Hz (band-pass/band-stop only)
  double frqHigh;     // upper band edge, Hz (band-pass/band-stop only)
  double q;           // quality factor
  double gain;        // dB
  double sampleRate;  // rate the section runs at, Hz
};

// H(z) = (b0 + b1 z^-1 + b2 z^-2) / (1 + a1 z^-1 + a2 z^-2), coefficients
// stored as (-a1, -a2, b0, b1, b2) so the recursion only adds.
class IIRFilter {
 public:
  // Designs from the record (sanitising it) and starts with zero delay state
  // and no glide pending.
  explicit IIRFilter(filterPrm_tag* prm);
  virtual ~IIRFilter();

  // (Re)designs `coef`, `num` and `biquad`. The delay state is cleared only
  // when the type code changes, so a running section can be retuned click-free.
  void FDexcute(filterPrm_tag* prm);

  // Designs a new set and prepares a linear glide of n samples (n >= 1) from
  // the previous target set to it; ipIirProcessing advances it.
  void ipFDexcute(filterPrm_tag* prm, int n);

  // One sample in place with the current coefficients.
  inline void iirProcessing(double* x);

  // One sample in place with gliding coefficients c = ipDelta*t + ipStart,
  // t = ipPos; then advances the glide (ending it at t == ipLen).
  inline void ipIirProcessing(double* x);

  // Clears the delay state; coefficients and glide stay.
  void refresh();

  double coef[5];     // -a1, -a2, b0, b1, b2
  double ipStart[5];  // set at the start of the glide
  double ipDelta[5];  // per-sample increment during the glide
  double z1;
  double z2;
  double pi;        // 0x400921FB54442D1A, used by every design
  int16_t num;      // type code of the current design
  int16_t lastNum;  // type code of the previous design, -1 before the first
  int32_t biquad;   // nonzero: transposed direct form II; 0: one-pole
  double ipPos;     // glide position, samples
  double ipLen;     // glide length, samples

 private:
  // The two recursions on an explicit coefficient set c = (c0 .. c4).
  inline double step(const double* c, double in);
};

inline double IIRFilter::step(const double* c, double in) {
  if (biquad) {
    // Transposed direct form II.
    const double y = c[2] * in + z1;
    z1 = (c[3] * in + z2) + c[0] * y;
    z2 = c[4] * in + c[1] * y;
    return y;
  }
  // One-pole low-pass: y[n] = p*y[n-1] + (1-p)*x[n], with c0 = 1-p, c2 = p.
  const double y = c[2] * z1 + c[0] * in;
  z1 = y;
  return y;
}

inline void IIRFilter::iirProcessing(double* x) { *x = step(coef, *x); }

inline void IIRFilter::ipIirProcessing(double* x) {
  const double t = ipPos;
  double c[5];
  for (int k = 0; k < 5; ++k) c[k] = ipDelta[k] * t + ipStart[k];
  *x = step(c, *x);
  if (ipPos == ipLen) {
    // Last glide sample: from now on run with exactly the target set.
    for (int k = 0; k < 5; ++k) {
      ipStart[k] = coef[k];
      ipDelta[k] = 0.0;
    }
    ipPos = ipPos + 1.0;
  } else if (ipPos < ipLen) {
    ipPos = ipPos + 1.0;
  }
}
