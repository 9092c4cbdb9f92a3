// Multi-channel processing with a mono effect: one instance per channel, all
// set up alike, channels processed on separate threads (one per channel, up
// to the number of CPUs this process may use).
#pragma once

#include <memory>
#include <vector>

#include "host/plugin/EffectInstance.h"
#include "host/plugin/KnobSettings.h"

namespace veltrax::host {

class ChannelBank {
 public:
  ChannelBank(const std::shared_ptr<ModuleLibrary>& module, int channels, double sampleRate,
              int32_t blockSize, const KnobSettings& knobs);

  // Processes frames [0, frames) of every channel in place, in blocks of at
  // most the block size. planar[c] holds channel c.
  void process(std::vector<std::vector<double>>& planar, size_t frames);

  int channels() const { return static_cast<int>(instances_.size()); }
  unsigned threads() const { return threads_; }

 private:
  void processChannel(int channel, std::vector<double>& samples, size_t frames);

  std::vector<std::unique_ptr<EffectInstance>> instances_;
  std::vector<std::vector<double>> scratch_;
  int32_t blockSize_;
  unsigned threads_;
};

}  // namespace veltrax::host
