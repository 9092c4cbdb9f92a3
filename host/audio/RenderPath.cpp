#include "host/audio/RenderPath.h"

#include <algorithm>
#include <cmath>

namespace veltrax::host {

double gainOfDb(double db) { return db == 0.0 ? 1.0 : std::pow(10.0, db / 20.0); }

RenderPath::RenderPath(const std::shared_ptr<ModuleLibrary>& module, const RenderSettings& settings,
                       int channels, double fileRate, double extraGain)
    : channels_(static_cast<size_t>(channels)),
      inputGain_(gainOfDb(settings.inputGainDb)),
      outputGain_(gainOfDb(settings.outputGainDb) * extraGain),
      bank_(module, channels, settings.voicingRate.value_or(fileRate), settings.blockSize,
            settings.knobs),
      planar_(channels_) {
  if (settings.voicingRate && *settings.voicingRate != fileRate) {
    up_.emplace(fileRate, *settings.voicingRate, channels);
    down_.emplace(*settings.voicingRate, fileRate, channels);
  }
  if (settings.preroll) {
    // Silence through every instance; its output (silence too) is dropped.
    for (auto& channel : planar_) channel.assign(static_cast<size_t>(settings.blockSize), 0.0);
    bank_.process(planar_, static_cast<size_t>(settings.blockSize));
  }
}

// Interleaved frames at the effect's rate through the bank, appended to `out`.
void RenderPath::runEffect(const double* in, size_t frames, std::vector<double>& out) {
  for (size_t c = 0; c < channels_; ++c) {
    planar_[c].resize(frames);
    for (size_t i = 0; i < frames; ++i) planar_[c][i] = in[i * channels_ + c];
  }
  bank_.process(planar_, frames);
  const size_t at = out.size();
  out.resize(at + frames * channels_);
  for (size_t i = 0; i < frames; ++i)
    for (size_t c = 0; c < channels_; ++c) out[at + i * channels_ + c] = planar_[c][i];
}

void RenderPath::applyOutputGain(std::vector<double>& out, size_t from) const {
  if (outputGain_ == 1.0) return;
  for (size_t i = from; i < out.size(); ++i) out[i] *= outputGain_;
}

void RenderPath::process(const double* in, size_t frames, std::vector<double>& out) {
  framesIn_ += frames;
  const size_t count = frames * channels_;
  if (inputGain_ != 1.0) {
    scaled_.assign(in, in + count);
    for (double& x : scaled_) x *= inputGain_;
    in = scaled_.data();
  }
  const size_t at = out.size();
  if (!up_) {
    runEffect(in, frames, out);
  } else {
    voiced_.clear();
    up_->push(in, frames, voiced_);
    processed_.clear();
    runEffect(voiced_.data(), voiced_.size() / channels_, processed_);
    down_->push(processed_.data(), processed_.size() / channels_, out);
  }
  applyOutputGain(out, at);
  framesOut_ += (out.size() - at) / channels_;
}

void RenderPath::finish(std::vector<double>& out) {
  const size_t at = out.size();
  if (up_) {
    voiced_.clear();
    up_->finish(voiced_);
    processed_.clear();
    runEffect(voiced_.data(), voiced_.size() / channels_, processed_);
    down_->push(processed_.data(), processed_.size() / channels_, out);
    down_->finish(out);
    applyOutputGain(out, at);
  }
  // Two roundings of the length may leave a frame too many or too few.
  const size_t wanted = framesIn_ - std::min(framesIn_, framesOut_);
  out.resize(at + wanted * channels_, 0.0);
  framesOut_ = framesIn_;
}

}  // namespace veltrax::host
