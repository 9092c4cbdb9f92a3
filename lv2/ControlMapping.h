// How a control port value becomes an effect parameter value.
//
// The knobs show the pedal's dial, 0..10 (the numbers the effect's parameter
// displays show); the effect takes 0..1, so a dial reading d becomes d / 10 in
// single precision. Readings outside the dial are clamped to it. The On/Off
// port is an LV2 toggle: above 0 is on (1.0), anything else off (0.0), since
// the effect takes exactly 1.0 as on. A reading that is not a number maps to
// NaN, which the caller treats as "no change".
//
// The two level trims are not effect parameters: a reading in dB, clamped to
// kTrimMinDb..kTrimMaxDb, becomes the linear gain g = 10^(dB / 20) that
// multiplies the double samples before (input) or after (output) the effect.
// 0 dB is exactly 1.0, so trims at 0 dB leave every sample as it was.
#pragma once

#include <cmath>
#include <cstdint>

#include "lv2/PluginIdentity.h"  // the port defaults
#include "lv2/Ports.h"

namespace veltrax::lv2 {

inline constexpr float kDialMax = 10.0f;
inline constexpr float kDialDefault = 5.0f;

inline constexpr float kTrimMinDb = -24.0f;
inline constexpr float kTrimMaxDb = 24.0f;

constexpr float knobParameter(float dial) {
  if (dial != dial) return dial;
  if (dial < 0.0f) dial = 0.0f;
  if (dial > kDialMax) dial = kDialMax;
  return dial / kDialMax;
}

constexpr float switchParameter(float toggle) {
  if (toggle != toggle) return toggle;
  return toggle > 0.0f ? 1.0f : 0.0f;
}

constexpr float clampTrimDb(float db) {
  if (db < kTrimMinDb) return kTrimMinDb;
  if (db > kTrimMaxDb) return kTrimMaxDb;
  return db;
}

// Linear gain of a trim reading that is a number.
inline double trimGain(float db) { return std::pow(10.0, clampTrimDb(db) / 20.0); }

constexpr float parameterForPort(uint32_t port, float reading) {
  return port == kPortEnabled ? switchParameter(reading) : knobParameter(reading);
}

}  // namespace veltrax::lv2
