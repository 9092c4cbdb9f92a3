#include "dsp/SwitchRecord.h"

#include <cassert>
#include <cmath>
#include <memory>
#include <new>

SwitchRecord* createSwitchRecord(double sampleRate, float onOff) {
  const double fadeSeconds = 0.016;
  const double samples = std::floor(fadeSeconds * sampleRate);
  const int n = static_cast<int>(samples);
  assert(n >= 1 && "a fade lasts at least one sample");

  std::unique_ptr<double[]> fadeIn(new double[n]);
  std::unique_ptr<double[]> fadeOut(new double[n]);
  const double step = 1.0 / samples;
  for (int j = 0; j < n; ++j) {
    fadeIn[j] = step * j;
    fadeOut[j] = (n - j) * step;
  }

  SwitchRecord* record = new SwitchRecord();
  record->fadeLength = n;
  record->fadeLengthSamples = samples;
  record->fadeSeconds = fadeSeconds;
  record->fadeSampleRate = sampleRate;
  record->steadyGain = 1.0;
  record->fadeIn = fadeIn.release();
  record->fadeOut = fadeOut.release();
  record->fadePos = 0;
  record->pathFlagsLength = 0;
  record->switchState = onOff;
  record->pathFlags = nullptr;
  record->fadePhase = 0;
  record->pathFlagsCapacity = 0;
  return record;
}

void destroySwitchRecord(SwitchRecord* record) noexcept {
  if (!record) return;
  delete[] record->fadeIn;
  delete[] record->fadeOut;
  delete[] record->pathFlags;
  delete record;
}

bool reservePathFlags(SwitchRecord& record, int n) noexcept {
  if (n <= record.pathFlagsCapacity) return true;
  float* flags = new (std::nothrow) float[n];
  if (!flags) return false;
  delete[] record.pathFlags;
  record.pathFlags = flags;
  record.pathFlagsCapacity = n;
  return true;
}

// Every flag and gain of the block is written below, so a larger array left
// from an earlier block gives exactly what a fresh array of n entries would;
// pathFlagsLength only records how many of them belong to this block.
void prepareSwitch(SwitchRecord& record, float onOff, int n, double* blockBuffer) noexcept {
  if (n <= 0) return;
  assert(n <= record.pathFlagsCapacity);
  if (onOff != record.switchState) record.fadePhase = 1;

  // While fading out, the path that was active before the change (exact for
  // On/Off values 0 and 1).
  const float oldPath = onOff == 1.0f ? 0.0f : 1.0f;
  const int fadeLength = record.fadeLength;
  float* flags = record.pathFlags;
  // Per sample while a fade runs (phases 1 and 2); any other phase is steady.
  int i = 0;
  for (; i < n && (record.fadePhase == 1 || record.fadePhase == 2); ++i) {
    switch (record.fadePhase) {
      case 1:
        blockBuffer[i] = record.fadeOut[record.fadePos];
        flags[i] = oldPath;
        if (++record.fadePos >= fadeLength) {
          record.fadePhase = 2;
          record.fadePos = 0;
        }
        break;
      default:
        blockBuffer[i] = record.fadeIn[record.fadePos];
        flags[i] = onOff;
        if (++record.fadePos >= fadeLength) {
          record.fadePhase = 0;
          record.fadePos = 0;
        }
        break;
    }
  }
  // Steady for the rest of the block: constant fills (vectorised).
  const double steadyGain = record.steadyGain;
#pragma GCC unroll 8
  for (int j = i; j < n; ++j) blockBuffer[j] = steadyGain;
#pragma GCC unroll 8
  for (int j = i; j < n; ++j) flags[j] = onOff;
  record.switchState = onOff;
  record.pathFlagsLength = n;
}
