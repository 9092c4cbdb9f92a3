// How one file is rendered, apart from where it comes from and where it
// goes: the knobs, the block length and the signal path around the module.
// `veltrax render`, the file-set render and the Python module share it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/audio/OutputFormat.h"
#include "host/plugin/KnobSettings.h"

namespace veltrax::host {

struct RenderSettings {
  KnobSettings knobs;
  int32_t blockSize = 512;
  // One block of silence before the first sample, so that the knob ramps of
  // the first block are over when the audio starts and the output does not
  // depend on the block length. false: the audio starts on the ramps.
  bool preroll = true;
  double inputGainDb = 0.0;   // trim before the effect, dB
  double outputGainDb = 0.0;  // trim after the effect, dB
  // A second pass scales the output so that its peak lands here (dBFS, at
  // most 0, so it never clips).
  std::optional<double> normalizePeakDbfs;
  // The effect runs at this rate (Hz) between two high-quality conversions,
  // so that the pedal sounds alike at every file rate; unset: the file's rate.
  std::optional<double> voicingRate;
  std::optional<SampleType> sampleType;  // default: from the input
};

// Why no render can carry out these settings (block length, gains,
// normalizing level, voicing rate) in one line, or empty when it can.
std::string renderSettingsProblem(const RenderSettings& settings);

}  // namespace veltrax::host
