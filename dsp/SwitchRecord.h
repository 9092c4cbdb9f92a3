// The click-free On/Off switch: a cross-fade of N = floor(0.016 s * rate)
// samples that runs the old path down (phase 1), then the new path up
// (phase 2), then stays steady (phase 0); phases carry over block boundaries.
#pragma once

struct SwitchRecord {
  int fadeLength;            // N, samples per fade phase
  double fadeLengthSamples;  // N as a double
  double fadeSeconds;        // 0.016
  double fadeSampleRate;     // rate the fade was made for
  double steadyGain;         // 1.0
  double* fadeIn;            // N gains: j/N
  double* fadeOut;           // N gains: (N - j)/N
  int fadePos;               // position inside the running fade phase
  int pathFlagsLength;       // length of the last prepared block
  float switchState;         // On/Off value the switch has adopted
  float* pathFlags;          // per sample of the block: 1.0 effect path, else dry
  int fadePhase;             // 0 steady, 1 old path fading out, 2 new path fading in
  int pathFlagsCapacity;     // allocated length of pathFlags, never shrinks
};

// Builds a steady switch on `onOff` for `sampleRate` (at least 62.5 Hz, so a
// fade lasts at least one sample). Throws std::bad_alloc and leaks nothing.
SwitchRecord* createSwitchRecord(double sampleRate, float onOff);

// Frees the record and its arrays; null is allowed.
void destroySwitchRecord(SwitchRecord* record) noexcept;

// Makes room for blocks of up to n samples. Grows only; returns false and
// leaves the record unchanged if the memory cannot be had.
bool reservePathFlags(SwitchRecord& record, int n) noexcept;

// Once per block of n samples, before the per-sample loop, with the current
// On/Off value: fills blockBuffer[0..n-1] with the cross-fade gains and
// pathFlags[0..n-1] with the path choices, and advances the fade. A change of
// the value restarts phase 1 at the current position. Needs a capacity of at
// least n; a block without samples (n <= 0) changes nothing.
void prepareSwitch(SwitchRecord& record, float onOff, int n, double* blockBuffer) noexcept;
