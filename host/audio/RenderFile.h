// Renders one audio file through the module into another: every channel
// through its own instance at the file's sample rate, streamed in chunks,
// written safely (see SafeOutputFile).
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "host/audio/OutputFormat.h"
#include "host/plugin/KnobSettings.h"
#include "host/plugin/ModuleLibrary.h"

namespace veltrax::host {

// The sample rates the module accepts.
constexpr double kMinSampleRate = 1000.0;
constexpr double kMaxSampleRate = 1536000.0;

struct RenderRequest {
  std::string input;
  std::string output;
  KnobSettings knobs;
  int32_t blockSize = 512;
  bool force = false;
  std::optional<SampleType> sampleType;  // default: the input's
};

struct RenderReport {
  size_t frames = 0;
  int channels = 0;
  int sampleRate = 0;
  int outputFormat = 0;
  unsigned threads = 1;
  double seconds = 0.0;  // wall-clock time of the render
  double inputPeak = 0.0, outputPeak = 0.0;
};

// Throws HostError on any failure; the target is then left as it was.
RenderReport renderFile(const std::shared_ptr<ModuleLibrary>& module, const RenderRequest& request);

}  // namespace veltrax::host
