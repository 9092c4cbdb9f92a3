// The signal chain: one block of mono double-precision audio.
//
// Per block: follow the knobs through their tapers (glide the two tone
// filters after a tone change), prepare the On/Off cross-fade, then per
// sample: pre cascade -> drive -> 4x oversampled clipper (interpolation
// low-pass, hard clamp, post cascade, tanh table, decimation low-pass) ->
// tone level -> power cascade -> revise cascade -> volume and output level,
// cross-faded against the dry input.
#include <cstring>
#include <new>

#include "dsp/FlushToZero.h"
#include "dsp/OversamplingFilter.h"
#include "dsp/StageTables.h"
#include "effect/VELTRAX.h"

namespace {

// Before the first sample-rate setup, or when a per-block buffer cannot be
// had, a block passes its input through unchanged (in-place safe).
void passThrough(const double* in, double* out, int32_t n) {
  if (in != out) std::memmove(out, in, sizeof(double) * static_cast<size_t>(n));
}

}  // namespace

// Grows the per-block buffers (gains and path choices) to `frames` samples;
// never shrinks them. False if the memory cannot be had (nothing changes).
bool VELTRAX::ensureBlockCapacity(int32_t frames) {
  if (frames <= blockBufferCapacity) return true;
  double* grown = new (std::nothrow) double[static_cast<size_t>(frames)];
  if (!grown) return false;
  if (switchRecord && !reservePathFlags(*switchRecord, frames)) {
    delete[] grown;
    return false;
  }
  delete[] blockBuffer;
  blockBuffer = grown;
  blockBufferCapacity = frames;
  return true;
}

bool VELTRAX::reserveBlockCapacity(int32_t frames) {
  paramLock.lock();
  const bool reserved = ensureBlockCapacity(frames);
  paramLock.unlock();
  return reserved;
}

void VELTRAX::selectEngine(veltrax::Engine choice) {
  paramLock.lock();
  engine = choice;
  paramLock.unlock();
}

// Turns changed knobs into control values (tapers evaluated only on a
// change) and starts an n-sample glide of the peaking and shelf filters
// after a tone change.
void VELTRAX::applyKnobChanges(int32_t n) {
  const float volume = paramValues[kVolume].load(std::memory_order_relaxed);
  const float sustain = paramValues[kSustain].load(std::memory_order_relaxed);
  const float tone = paramValues[kTone].load(std::memory_order_relaxed);

  if (volume != appliedVolume) volumeValue = evaluateTaper(*volumeTaper, volume);
  if (sustain != appliedSustain) sustainValue = evaluateTaper(*sustainTaper, sustain);
  if (tone != appliedTone) {
    toneValue = evaluateTaper(*toneTapers[kToneLevel], tone);

    // Power cascade's peaking section at the tapered frequency and gain, q 0.8.
    filterPrm_tag peaking =
        stageDesign(kPeaking, evaluateTaper(*toneTapers[kTonePeakingFrequency], tone), 0.8,
                    evaluateTaper(*toneTapers[kTonePeakingGain], tone), filterSampleRate);
    stageFilters[kPower][veltrax::chain::kTonePeakingSection]->ipFDexcute(&peaking, n);
    // Its first-order high shelf at 12 kHz.
    filterPrm_tag shelf =
        stageDesign(kHighShelf1, 12000.0, 1.0, evaluateTaper(*toneTapers[kToneShelfGain], tone),
                    filterSampleRate);
    stageFilters[kPower][veltrax::chain::kToneShelfSection]->ipFDexcute(&shelf, n);
  }
}

// Audio thread, once per block; holds paramLock for the whole block, so knob
// values set meanwhile are seen at the next block. in and out may alias.
void VELTRAX::processDoubleReplacing(double** inputs, double** outputs, int32_t sampleFrames) {
  const int32_t n = sampleFrames;
  if (n <= 0 || !inputs || !outputs || !inputs[0] || !outputs[0]) return;
  const double* in = inputs[0];
  double* out = outputs[0];

  paramLock.lock();
  if (filterSampleRate < 0.0 || !ensureBlockCapacity(n)) {
    passThrough(in, out, n);
    paramLock.unlock();
    return;
  }
  {
    FlushToZeroScope flushToZero;
    ControlRamps ramps;
    beginBlock(n, ramps);
    runChain(in, out, n, ramps);
    endBlock(n);
  }
  paramLock.unlock();
}

// Everything before the per-sample loop: knob changes, the first block's
// switch adoption, the ramps of the three control values and the switch's
// gains and path choices for n samples.
bool VELTRAX::beginBlock(int32_t n, ControlRamps& ramps) {
  if (n <= 0 || filterSampleRate < 0.0 || !ensureBlockCapacity(n)) return false;
  applyKnobChanges(n);
  const float onOff = paramValues[kOnOff].load(std::memory_order_relaxed);
  if (switchInitPending) {  // the first block adopts On/Off without a fade
    switchRecord->switchState = onOff;
    switchInitPending = false;
  }

  const double step = n > 1 ? 1.0 / (n - 1) : 0.0;
  ramps.dVolume = (volumeValue - volumeValuePrev) * step;
  ramps.dSustain = (sustainValue - sustainValuePrev) * step;
  ramps.dTone = (toneValue - toneValuePrev) * step;
  ramps.volumeStart = volumeValuePrev;
  ramps.sustainStart = sustainValuePrev;
  ramps.toneStart = toneValuePrev;

  prepareSwitch(*switchRecord, onOff, n, blockBuffer);
  return true;
}

void VELTRAX::runChain(const double* in, double* out, int32_t n, const ControlRamps& ramps) {
  if (engine == veltrax::Engine::fast)
    runSignalChainFast(in, out, n, ramps);
  else
    runSignalChain(in, out, n, ramps);
}

// After the per-sample loop: the knob values count as applied and the ramps
// start from their ends next block.
void VELTRAX::endBlock(int32_t n) {
  appliedVolume = paramValues[kVolume].load(std::memory_order_relaxed);
  appliedSustain = paramValues[kSustain].load(std::memory_order_relaxed);
  appliedTone = paramValues[kTone].load(std::memory_order_relaxed);
  volumeValuePrev = volumeValue;
  toneValuePrev = toneValue;
  sustainValuePrev = sustainValue;
  blockBufferLength = n;
}

// The plain per-sample loop: the reference transcription of the circuit
// model, one object call per filter section. k counts samples as a double.
void VELTRAX::runSignalChain(const double* in, double* out, int32_t n, const ControlRamps& r) {
  IIRFilter* const* pre = stageFilters[kPre];
  IIRFilter* const* post = stageFilters[kPost];
  IIRFilter* const* power = stageFilters[kPower];
  IIRFilter* const* revise = stageFilters[kRevise];
  const float* pathFlags = switchRecord->pathFlags;

  double k = 0.0;
  for (int32_t i = 0; i < n; ++i) {
    double x = in[i];
    for (int32_t s = 0; s < stageFilterCount[kPre]; ++s) pre[s]->iirProcessing(&x);

    const double u = x * (k * r.dSustain + r.sustainStart);  // drive

    // Four-times oversampling by zero insertion; only pass 0's output is kept.
    double z0 = 0.0;
    for (int pass = 0; pass < veltrax::chain::kOversampling; ++pass) {
      const double v = pass == 0 ? u : 0.0;
      const double y = oversamplingStep(osUpState, osFeedback, osFeedforward, v);
      // Hard clamp to -0.001 .. 0.00125 (NaN takes the lower bound), then x800.
      double h = y > 0.00125 ? 0.00125 : (y > -0.001 ? y : -0.001);
      h = h * 800.0;
      for (int32_t s = 0; s < stageFilterCount[kPost]; ++s) post[s]->iirProcessing(&h);
      h = h > 1.0 ? 1.0 : (h > -1.0 ? h : -1.0);  // NaN takes -1
      const double w = clip.lookup(h);            // tanh(16 h)
      const double z = oversamplingStep(osDownState, osFeedback, osFeedforward, w);
      if (pass == 0) z0 = z;
    }

    double t = z0 * (k * r.dTone + r.toneStart);  // tone level
    for (int32_t s = 0; s < stageFilterCount[kPower]; ++s) {
      if (s == veltrax::chain::kTonePeakingSection || s == veltrax::chain::kToneShelfSection)
        power[s]->ipIirProcessing(&t);  // the tone sections glide after a tone change
      else
        power[s]->iirProcessing(&t);
    }
    for (int32_t s = 0; s < stageFilterCount[kRevise]; ++s) revise[s]->iirProcessing(&t);

    if (pathFlags[i] == 1.0f)
      out[i] = (((k * r.dVolume + r.volumeStart) * t) * outputLevel) * blockBuffer[i];
    else
      out[i] = blockBuffer[i] * in[i];  // dry input
    k += 1.0;
  }
}
