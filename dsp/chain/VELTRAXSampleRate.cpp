// Sample-rate setup: the one place where the rate-dependent DSP of an
// instance is built (cascades, oversampling coefficients, tapers, the On/Off
// switch record) and where the shared clipping table is built on first use.
#include <algorithm>
#include <cmath>
#include <mutex>
#include <new>

#include "dsp/OversamplingFilter.h"
#include "dsp/StageTables.h"
#include "effect/VELTRAX.h"

namespace {

// Rates outside [62.5 Hz, 2^31 Hz) are ignored (the previous build stays):
// the On/Off fade (0.016 s) needs at least one sample and the rate's integer
// truncation must fit an int32.
constexpr double kMinSampleRate = 62.5;          // Hz
constexpr double kMaxSampleRate = 2147483648.0;  // Hz, excluded

bool isValidSampleRate(double sr) {
  return std::isfinite(sr) && sr >= kMinSampleRate && sr < kMaxSampleRate;
}

std::once_flag clipTableBuilt;

KnobTaper* newTaper(const KnobTaper& settings, double rangeEnd, double rangeStart) {
  KnobTaper* taper = new KnobTaper(settings);
  taper->rangeEnd = rangeEnd;
  taper->rangeStart = rangeStart;
  return taper;
}

}  // namespace

// Host calls it with processing stopped (no lock), before the first block and
// whenever the rate changes. A rate already in force changes nothing.
void VELTRAX::setSampleRate(float sampleRate) {
  const double sr = sampleRate;
  if (!isValidSampleRate(sr) || sr == filterSampleRate) return;
  try {
    rebuildForRate(sr);
  } catch (...) {
    // Out of memory mid-rebuild: drop everything, so that no pointer to
    // freed memory remains and processing passes audio through unchanged
    // until a later call builds again.
    releaseTapers();
    releaseCascades();
    releaseSwitchRecord();
    filterSampleRate = -1.0;
    throw;
  }
}

void VELTRAX::rebuildForRate(double sr) {
  filterSampleRate = sr;

  // Ramps: the first block after a setup fades volume, drive and tone level in from 0.
  sustainValue = 1.0;
  toneValue = 1.0;
  sustainValuePrev = 0.0;
  toneValuePrev = 0.0;

  const OversamplingCoefficients& os = oversamplingCoefficientsFor(sr);
  std::copy(os.feedback, os.feedback + 5, osFeedback);
  std::copy(os.feedforward, os.feedforward + 6, osFeedforward);
  std::fill(osUpState, osUpState + 6, 0.0);
  std::fill(osDownState, osDownState + 6, 0.0);

  // The table's content does not depend on the rate: every build writes the
  // same values, so it is built once per process and later rates only record
  // themselves.
  if (sr != clipSampleRate.load(std::memory_order_relaxed)) {
    std::call_once(clipTableBuilt, [] { clip.build(); });
    clipSampleRate.store(sr, std::memory_order_relaxed);
  }

  buildTapers();
  appliedVolume = -1.0f;
  appliedTone = -1.0f;
  appliedSustain = -1.0f;

  releaseCascades();
  buildCascades(sr);

  releaseSwitchRecord();
  switchRecord = createSwitchRecord(sr, paramValues[kOnOff].load(std::memory_order_relaxed));
  // Keep the per-block capacity the instance already had, so the first block
  // after a rate change allocates nothing either.
  if (blockBufferCapacity > 0 && !reservePathFlags(*switchRecord, blockBufferCapacity))
    throw std::bad_alloc();
  blockBufferLength = 0;
}

// Tapers are rebuilt with the end points current at this moment.
void VELTRAX::buildTapers() {
  releaseTapers();
  sustainTaper = newTaper(kSustainTaper, kSustainTaper.rangeEnd, kSustainTaper.rangeStart);
  volumeTaper = newTaper(kVolumeTaper, kVolumeTaper.rangeEnd, volumeRangeLow);
  volumeValue = 1.0;
  volumeValuePrev = 0.0;
  toneTapers[kTonePeakingFrequency] = newTaper(kToneFrequencyTaper, toneRangeHigh, toneRangeLow);
  toneTapers[kTonePeakingGain] =
      newTaper(kToneGainTaper, kToneGainTaper.rangeEnd, kToneGainTaper.rangeStart);
  toneTapers[kToneShelfGain] =
      newTaper(kToneShelfTaper, kToneShelfTaper.rangeEnd, kToneShelfTaper.rangeStart);
  toneTapers[kToneLevel] = newTaper(kToneLevelTaper, toneGainHigh, toneGainLow);
}

// Each cascade has its stage table's count of sections, each running at its
// cascade's multiple of the rate (dsp/ChainShape.h): pre, power and revise at
// the sample rate, post inside the four-times oversampled clipping section.
void VELTRAX::buildCascades(double sr) {
  for (int c = 0; c < veltrax::chain::kCascadeCount; ++c) {
    stageFilterCount[c] = kStageTables[c].count;
    stageFilters[c] = new IIRFilter*[stageFilterCount[c]]();
  }
  for (int c = 0; c < veltrax::chain::kCascadeCount; ++c) {
    const StageTable& table = kStageTables[c];
    const double rate = veltrax::chain::kCascades[c].rateMultiple * sr;
    for (int32_t i = 0; i < table.count; ++i) {
      filterPrm_tag prm = stageDesign(table.num[i], table.frq[i], table.q[i], table.gain[i], rate);
      stageFilters[c][i] = new IIRFilter(&prm);
    }
  }
}
