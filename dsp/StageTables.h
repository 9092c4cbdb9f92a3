// The circuit model's fixed filter cascades, one group of four parallel
// tables per cascade: frequency (Hz), Q, gain (dB) and filter type code.
// Stage i of a cascade is designed from entry i of its four tables. The Q of
// codes 0, 1, 11, 12 and the gain of codes 0, 1 are unused by the design.
#pragma once

#include <cstdint>

#include "dsp/ChainShape.h"
#include "dsp/FilterDesign.h"
#include "dsp/IIRFilter.h"

// Each table's length is its cascade's section count (dsp/ChainShape.h);
// StageTables.cpp checks its entries against it.
inline constexpr int kPreSections = veltrax::chain::kCascades[veltrax::chain::kPre].sections;
inline constexpr int kPostSections = veltrax::chain::kCascades[veltrax::chain::kPost].sections;
inline constexpr int kPowerSections = veltrax::chain::kCascades[veltrax::chain::kPower].sections;
inline constexpr int kReviseSections = veltrax::chain::kCascades[veltrax::chain::kRevise].sections;

// Pre cascade, at the sample rate: two high shelves taming the top octave,
// a 10 Hz DC blocker and a +3 dB bump at 120 Hz.
extern const double VELTRAXpreFrq[kPreSections];
extern const double VELTRAXpreQ[kPreSections];
extern const double VELTRAXpreGain[kPreSections];
extern const int32_t VELTRAXpreNum[kPreSections];

// Post cascade, at four times the sample rate (inside the clipping section).
extern const double VELTRAXpostFrq[kPostSections];
extern const double VELTRAXpostQ[kPostSections];
extern const double VELTRAXpostGain[kPostSections];
extern const int32_t VELTRAXpostNum[kPostSections];

// Power cascade, at the sample rate; stages 2 (peaking) and 3 (12 kHz shelf)
// are re-designed by the tone knob while audio runs.
extern const double VELTRAXpowerFrq[kPowerSections];
extern const double VELTRAXpowerQ[kPowerSections];
extern const double VELTRAXpowerGain[kPowerSections];
extern const int32_t VELTRAXpowerNum[kPowerSections];

// Revise cascade (output voicing), at the sample rate.
extern const double VELTRAXreviseFrq[kReviseSections];
extern const double VELTRAXreviseQ[kReviseSections];
extern const double VELTRAXreviseGain[kReviseSections];
extern const int32_t VELTRAXreviseNum[kReviseSections];

// One cascade's tables together.
struct StageTable {
  int32_t count;
  const double* frq;
  const double* q;
  const double* gain;
  const int32_t* num;
};

// Indexed by veltrax::chain::Cascade (pre, post, power, revise).
extern const StageTable kStageTables[veltrax::chain::kCascadeCount];

// A fresh design record for one stage (no band edges: frqLow = frqHigh = 0).
// Each design gets its own record, since the design writes back sanitised
// frequency and Q.
inline filterPrm_tag stageDesign(int32_t num, double frq, double q, double gain,
                                 double sampleRate) {
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
