// The subcommands of `veltrax`. Each returns the process exit code and
// throws HostError (exit 1) or UsageError (exit 2) on failure.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/common/HostError.h"

namespace veltrax::host {

// A command line that parses but asks for something impossible.
class UsageError : public HostError {
 public:
  using HostError::HostError;
};

struct RenderOptions {
  std::string input, output;
  std::vector<std::string> files;  // IN OUT, or the inputs when outputDirectory is set
  std::string outputDirectory;     // -o: render every input into this directory
  int jobs = 1;
  std::string module;
  std::string preset;
  std::optional<double> sustain, tone, volume;
  bool off = false;
  int scale = 1;  // 1: knob values 0..1; 10: the pedal's dial 0..10
  int blockSize = 512;
  bool force = false;
  std::string subtype;  // empty: as the input
  double inputGainDb = 0.0, outputGainDb = 0.0;
  std::optional<double> normalizePeakDbfs;
  bool noPreroll = false;
  std::optional<double> voicingRate;
  std::string format;    // output container by name; needed for OUT "-"
  std::string rawInput;  // "RATE:CHANNELS:SUBTYPE" of headerless input
};

struct DemoOptions {
  std::string directory = "demo-out";
  std::string module;
  bool force = false;  // write into a directory that has files in it
};

struct InfoOptions {
  std::string module;
};

struct PlotOptions {
  std::string directory;
  std::string module;
};

int runRender(const RenderOptions& options);
int runDemo(const DemoOptions& options);
int runInfo(const InfoOptions& options);
int runPlot(const PlotOptions& options);

}  // namespace veltrax::host
