// Renders a set of audio files into a directory with the multi-stream
// engine: the channels of several files of one sample rate share a batch of
// vector lanes, `jobs` threads each work through such groups, and within a
// group reading, processing and writing overlap (a reader, worker and writer
// stage on rounds of one chunk per file, so memory stays at three chunks
// however long a file is). Outputs are written atomically; existing
// outputs are skipped unless forced, so an interrupted run resumes; a file
// that fails does not stop the others.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/audio/RenderSettings.h"

namespace veltrax::host {

struct RenderSetRequest {
  std::vector<std::string> inputs;
  std::string outputDirectory;
  // Every file's settings; knobs, block length, pre-roll, gains and sample
  // type apply, a normalizing level and a voicing rate do not (HostError).
  RenderSettings settings;
  bool force = false;
  int jobs = 1;
};

struct RenderSetReport {
  size_t rendered = 0, skipped = 0;
  std::vector<std::string> failures;  // "<input>: <reason>"
  double audioSeconds = 0.0;          // of the rendered files
  double wallSeconds = 0.0;
};

// Output of `input` in `directory`: the same file name.
std::string outputPathFor(const std::string& directory, const std::string& input);

// Never throws for a single file's failure (it lands in `failures`); throws
// HostError when the output directory cannot be created or the settings ask
// for normalizing or a voicing rate. Each output is what `veltrax render IN
// OUT` writes with the same settings.
RenderSetReport renderSet(const RenderSetRequest& request);

}  // namespace veltrax::host
