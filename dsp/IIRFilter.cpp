#include "dsp/IIRFilter.h"

#include <cassert>

#include "dsp/FilterDesign.h"

namespace {
// Two units in the last place above the double nearest to pi; every design
// uses this value, so the coefficients depend on it bit for bit.
constexpr double kDesignPi = 0x1.921FB54442D1Ap+1;
}  // namespace

IIRFilter::IIRFilter(filterPrm_tag* prm)
    : coef{},
      ipStart{},
      ipDelta{},
      z1(0.0),
      z2(0.0),
      pi(kDesignPi),
      num(0),
      lastNum(-1),
      biquad(0),
      ipPos(0.0),
      ipLen(0.0) {
  FDexcute(prm);
  for (int k = 0; k < 5; ++k) {
    ipStart[k] = 0.0;
    ipDelta[k] = 0.0;
  }
}

IIRFilter::~IIRFilter() = default;

void IIRFilter::FDexcute(filterPrm_tag* prm) {
  num = sectionTypeCode(prm->num);
  sanitizeDesignRecord(*prm);
  const SectionCoefficients s = designSection(num, prm->frq, prm->frqLow, prm->frqHigh, prm->q,
                                              prm->gain, prm->sampleRate, pi);
  for (int k = 0; k < 5; ++k) coef[k] = s.coef[k];
  biquad = s.biquad;
  // Another response type leaves a state that means nothing to the new one.
  if (lastNum != num) {
    z1 = 0.0;
    z2 = 0.0;
  }
  lastNum = num;
}

void IIRFilter::ipFDexcute(filterPrm_tag* prm, int n) {
  assert(n >= 1 && "a glide needs at least one sample");
  for (int k = 0; k < 5; ++k) ipStart[k] = coef[k];
  FDexcute(prm);
  ipLen = static_cast<double>(n);
  const double perSample = 1.0 / n;
  for (int k = 0; k < 5; ++k) ipDelta[k] = (coef[k] - ipStart[k]) * perSample;
  ipPos = 0.0;
}

void IIRFilter::refresh() {
  z1 = 0.0;
  z2 = 0.0;
}
