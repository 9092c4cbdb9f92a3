// The signal path of one file render, streamed chunk by chunk, every
// channel alike:
//   x -> input gain -> [to the voicing rate] -> effect -> [back] -> output gain -> y
// with gains g = 10^(dB / 20) (0 dB leaves samples untouched) and one effect
// instance per channel, pre-rolled with one block of silence unless the
// settings say otherwise.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "host/audio/ChannelBank.h"
#include "host/audio/RenderSettings.h"
#include "host/audio/Resampler.h"
#include "host/plugin/ModuleLibrary.h"

namespace veltrax::host {

class RenderPath {
 public:
  // `fileRate` in Hz; `extraGain` multiplies the output on top of the
  // output gain (the normalizing pass's factor).
  RenderPath(const std::shared_ptr<ModuleLibrary>& module, const RenderSettings& settings,
             int channels, double fileRate, double extraGain = 1.0);

  // Processes `frames` interleaved frames and appends the output frames to
  // `out`. With a voicing rate some output may lag behind until finish().
  void process(const double* in, size_t frames, std::vector<double>& out);
  // End of input: appends what is left, so that the output has exactly as
  // many frames as the input.
  void finish(std::vector<double>& out);

  unsigned threads() const { return bank_.threads(); }

 private:
  void runEffect(const double* in, size_t frames, std::vector<double>& out);
  void applyOutputGain(std::vector<double>& out, size_t from) const;

  size_t channels_;
  double inputGain_, outputGain_;
  ChannelBank bank_;
  std::optional<Resampler> up_, down_;
  std::vector<double> scaled_, voiced_, processed_;
  std::vector<std::vector<double>> planar_;
  size_t framesIn_ = 0, framesOut_ = 0;
};

// Linear gain of a level in dB.
double gainOfDb(double db);

}  // namespace veltrax::host
