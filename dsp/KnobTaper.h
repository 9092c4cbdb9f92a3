// Knob tapers: map a knob value 0..1 to a control value (a gain, a frequency
// in Hz or a gain in dB). Knob arithmetic is single precision except where a
// step is stated in double.
#pragma once

// The shapes a taper's `taperType` selects (an int field).
enum TaperType : int {
  kPowerTaper = 0,       // offset + scale*pow(x - center, exponent)
  kSqrt2PowerTaper = 1,  // x^sqrt2
  kArctangentTaper = 2,  // S-curve through 0 and 1
  kPolynomialTaper = 3,  // coefs, highest power first
  // every other type: linear
};

struct KnobTaper {
  float* coefs;       // polynomial coefficients, highest power first (type 3)
  int taperType;      // 0 power, 1 x^sqrt2, 2 arctangent, 3 polynomial, else linear
  double rangeEnd;    // control value at knob 1 (the range flips if below rangeStart)
  double rangeStart;  // control value at knob 0
  float scale;
  float center;
  float offset;
  float exponent;
  int coefCount;  // number of polynomial coefficients (type 3)
};

// Control value of knob value x under taper t:
//   shape f (type 0: offset + scale*pow(x - center, exponent)), then
//   r = rangeStart + f*(rangeEnd - rangeStart) (or the flipped range).
double evaluateTaper(const KnobTaper& taper, float x);

// The tone knob's four tapers, in the order of the effect's toneTapers.
enum ToneTaper : int {
  kToneLevel = 0,             // tone level, linear
  kTonePeakingFrequency = 1,  // peaking section's frequency, Hz
  kTonePeakingGain = 2,       // peaking section's gain, dB
  kToneShelfGain = 3,         // 12 kHz shelf's gain, dB
  kToneTaperCount = 4
};

// The effect's six tapers. The end points that the effect holds as members
// carry their default values here; the effect overwrites them at setup.
// clang-format off
// sustain: 0.1 + 0.9*x^2
inline constexpr KnobTaper kSustainTaper{nullptr, kPowerTaper, 1.0, 0.1, 1.0f, 0.0f, 0.0f, 2.0f, 0};
// volume: x^3 (rangeStart = volume low end, default 0.0)
inline constexpr KnobTaper kVolumeTaper{nullptr, kPowerTaper, 1.0, 0.0, 1.0f, 0.0f, 0.0f, 3.0f, 0};
// tone level: 1.0 at tone 0 down to 0.188364909 (-14.5 dB) at tone 1
inline constexpr KnobTaper kToneLevelTaper{nullptr, kPowerTaper, 1.0, 0.188364909, -1.0f, 0.0f, 1.0f, 1.0f, 0};
// peaking frequency: 390 + 1710*(1 - x)^2 Hz
inline constexpr KnobTaper kToneFrequencyTaper{nullptr, kPowerTaper, 2100.0, 390.0, 1.0f, 1.0f, 0.0f, 2.0f, 0};
// peaking gain: -6 + 6*(1 - x)^2 dB
inline constexpr KnobTaper kToneGainTaper{nullptr, kPowerTaper, 0.0, -6.0, 1.0f, 1.0f, 0.0f, 2.0f, 0};
// 12 kHz shelf gain: 37*(1 - (1 - x)^2) dB
inline constexpr KnobTaper kToneShelfTaper{nullptr, kPowerTaper, 37.0, 0.0, -1.0f, 1.0f, 1.0f, 2.0f, 0};
// clang-format on
