// Port layout of the LV2 plug-in. The numbers are the lv2:index values and the
// names the lv2:symbol values of veltrax.ttl.in.
#pragma once

#include <cstdint>

namespace veltrax::lv2 {

enum Port : uint32_t {
  kPortIn = 0,          // audio input, float
  kPortOut = 1,         // audio output, float
  kPortEnabled = 2,     // "On/Off", toggled, lv2:enabled
  kPortVolume = 3,      // dial 0..10
  kPortTone = 4,        // dial 0..10
  kPortSustain = 5,     // dial 0..10
  kPortInputTrim = 6,   // dB, before the effect
  kPortOutputTrim = 7,  // dB, after the effect
  kPortCount = 8,
};

// The ports that drive effect parameters: On/Off and the three dials. The
// trims after them act on the audio outside the effect.
inline constexpr uint32_t kFirstControlPort = kPortEnabled;
inline constexpr uint32_t kControlPortCount = kPortInputTrim - kFirstControlPort;

// Control port p drives effect parameter p - kFirstControlPort: the effect
// numbers its parameters 0 On/Off, 1 volume, 2 tone, 3 sustain.
constexpr int32_t parameterOfPort(uint32_t port) {
  return static_cast<int32_t>(port - kFirstControlPort);
}

inline constexpr const char* kPortSymbols[kPortCount] = {"in",   "out",     "enabled", "volume",
                                                         "tone", "sustain", "input",   "output"};

}  // namespace veltrax::lv2
