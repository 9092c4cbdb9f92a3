#include "host/audio/ChannelBank.h"

#include <algorithm>

#include "host/common/ParallelFor.h"

namespace veltrax::host {

ChannelBank::ChannelBank(const std::shared_ptr<ModuleLibrary>& module, int channels,
                         double sampleRate, int32_t blockSize, const KnobSettings& knobs)
    : scratch_(channels, std::vector<double>(blockSize)),
      blockSize_(blockSize),
      threads_(std::min(static_cast<unsigned>(channels), usableCpuCount())) {
  for (int c = 0; c < channels; ++c) {
    instances_.push_back(EffectInstance::create(module));
    instances_.back()->prepare(sampleRate, blockSize);
    applyKnobs(*instances_.back(), knobs);
  }
}

void ChannelBank::processChannel(int channel, std::vector<double>& samples, size_t frames) {
  EffectInstance& instance = *instances_[channel];
  double* scratch = scratch_[channel].data();
  for (size_t start = 0; start < frames; start += blockSize_) {
    const auto n = static_cast<int32_t>(std::min<size_t>(blockSize_, frames - start));
    instance.process(samples.data() + start, scratch, n);
    std::copy(scratch, scratch + n, samples.data() + start);
  }
}

void ChannelBank::process(std::vector<std::vector<double>>& planar, size_t frames) {
  parallelFor(planar.size(), threads_,
              [&](size_t c) { processChannel(static_cast<int>(c), planar[c], frames); });
}

}  // namespace veltrax::host
