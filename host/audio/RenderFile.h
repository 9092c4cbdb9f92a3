// Renders one audio file through the module into another: every channel
// through its own instance (see RenderPath for the signal path), streamed in
// chunks, written safely (see SafeOutputFile). With a normalizing level the
// input is rendered twice: once to measure the output peak, once to write.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "host/audio/OutputFormat.h"
#include "host/audio/RenderSettings.h"
#include "host/plugin/ModuleLibrary.h"

namespace veltrax::host {

// The sample rates `veltrax render` takes from a sound file (the module
// itself builds every rate from 62.5 Hz up).
constexpr double kMinSampleRate = 1000.0;
constexpr double kMaxSampleRate = 1536000.0;

// The layout of headerless (raw) input, which no header can tell.
struct RawLayout {
  int sampleRate = 0;
  int channels = 0;
  SampleType sampleType = SampleType::float32;
};

struct RenderRequest {
  std::string input;   // a path, or "-" for standard input
  std::string output;  // a path, or "-" for standard output
  bool force = false;
  // The output's container by name ("wav", "flac", "raw", ...): needed for
  // standard output, else it overrides the output's extension.
  std::string outputFormat;
  std::optional<RawLayout> rawInput;
  RenderSettings settings;
};

struct RenderReport {
  size_t frames = 0;
  int channels = 0;
  int sampleRate = 0;
  int outputFormat = 0;
  bool lossyInput = false;
  unsigned threads = 1;
  double seconds = 0.0;  // wall-clock time of the render
  double inputPeak = 0.0, outputPeak = 0.0;
};

// Throws HostError on any failure; the target is then left as it was.
RenderReport renderFile(const std::shared_ptr<ModuleLibrary>& module, const RenderRequest& request);

}  // namespace veltrax::host
