// The project's named knob settings. One table serves `veltrax render
// --preset`, the demo and the LV2 bundle's factory presets. Values are the
// plug-in's 0..1 knob values (the pedal's 0..10 dial divided by ten).
#pragma once

#include <array>
#include <string_view>

namespace veltrax {

struct NamedPreset {
  std::string_view name;   // command-line / URI-safe identifier
  std::string_view label;  // human-readable name
  float sustain;
  float tone;
  float volume;
};

// The module's drive stage saturates any guitar-level input, so the settings
// differ mostly in how long a decaying note stays saturated (sustain) and in
// colour (tone: 0 dark, 1 bright). Volumes even out the loudness: each
// renders the demo riff (-12 dBFS peak) at about -22 dBFS RMS, close to
// the loudest the model gets (its output level stays below about -8 dBFS).
inline constexpr std::array<NamedPreset, 5> kNamedPresets{{
    {"light-crunch", "Light crunch", 0.00f, 0.55f, 0.97f},
    {"classic-fuzz", "Classic fuzz", 0.60f, 0.50f, 0.97f},
    {"doom", "Doom", 1.00f, 0.15f, 0.89f},
    {"bright-lead", "Bright lead", 0.80f, 0.85f, 0.93f},
    {"dark-wall", "Dark wall", 0.90f, 0.00f, 0.84f},
}};

// The preset with this name, or nullptr.
inline constexpr const NamedPreset* findNamedPreset(std::string_view name) {
  for (const auto& preset : kNamedPresets)
    if (preset.name == name) return &preset;
  return nullptr;
}

}  // namespace veltrax
