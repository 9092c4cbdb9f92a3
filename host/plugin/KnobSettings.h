// The four controls of the pedal as one value, and how they reach an
// instance. Values are the plug-in's 0..1 knob values.
#pragma once

#include "host/plugin/EffectInstance.h"
#include "presets/NamedPresets.h"

namespace veltrax::host {

enum ParameterIndex : int32_t { kOnOff = 0, kVolume = 1, kTone = 2, kSustain = 3 };

struct KnobSettings {
  bool on = true;
  float volume = 0.5f;
  float tone = 0.5f;
  float sustain = 0.5f;
};

inline KnobSettings knobsOf(const NamedPreset& preset) {
  return KnobSettings{true, preset.volume, preset.tone, preset.sustain};
}

// On/Off is on only at exactly 1.0; 0.0 selects the dry path.
inline void applyKnobs(EffectInstance& instance, const KnobSettings& knobs) {
  instance.setParameter(kOnOff, knobs.on ? 1.0f : 0.0f);
  instance.setParameter(kVolume, knobs.volume);
  instance.setParameter(kTone, knobs.tone);
  instance.setParameter(kSustain, knobs.sustain);
}

}  // namespace veltrax::host
