// The circuit model's fixed filter cascades, one group of four parallel
// tables per cascade: frequency (Hz), Q, gain (dB) and filter type code.
// Stage i of a cascade is designed from entry i of its four tables. The Q of
// codes 0, 1, 11, 12 and the gain of codes 0, 1 are unused by the design.
#pragma once

#include <cstdint>

#include "dsp/IIRFilter.h"

// Pre cascade, at the sample rate: two high shelves taming the top octave,
// a 10 Hz DC blocker and a +3 dB bump at 120 Hz.
extern const double VELTRAXpreFrq[4];
extern const double VELTRAXpreQ[4];
extern const double VELTRAXpreGain[4];
extern const int32_t VELTRAXpreNum[4];

// Post cascade, at four times the sample rate (inside the clipping section).
extern const double VELTRAXpostFrq[2];
extern const double VELTRAXpostQ[2];
extern const double VELTRAXpostGain[2];
extern const int32_t VELTRAXpostNum[2];

// Power cascade, at the sample rate; stages 2 (peaking) and 3 (12 kHz shelf)
// are re-designed by the tone knob while audio runs.
extern const double VELTRAXpowerFrq[4];
extern const double VELTRAXpowerQ[4];
extern const double VELTRAXpowerGain[4];
extern const int32_t VELTRAXpowerNum[4];

// Revise cascade (output voicing), at the sample rate.
extern const double VELTRAXreviseFrq[8];
extern const double VELTRAXreviseQ[8];
extern const double VELTRAXreviseGain[8];
extern const int32_t VELTRAXreviseNum[8];

// One cascade's tables together.
struct StageTable {
  int32_t count;
  const double* frq;
  const double* q;
  const double* gain;
  const int32_t* num;
};

// Indexed pre, post, power, revise (the effect's cascade order).
extern const StageTable kStageTables[4];

// A fresh design record for one stage (no band edges: frqLow = frqHigh = 0).
// Each design gets its own record, since the design writes back sanitised
// frequency and Q.
inline filterPrm_tag stageDesign(int32_t num, double frq, double q, double gain, double sampleRate) {
  filterPrm_tag prm;
  prm.num = num;
  prm.frq = frq;
  prm.frqLow = 0.0;
  prm.frqHigh = 0.0;
  prm.q = q;
  prm.gain = gain;
  prm.sampleRate = sampleRate;
  return prm;
}
