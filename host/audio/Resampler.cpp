#include "host/audio/Resampler.h"

#include <soxr.h>

#include "host/common/HostError.h"

namespace veltrax::host {

constexpr size_t kBufferFrames = 1 << 14;

Resampler::Resampler(double fromRate, double toRate, int channels)
    : channels_(static_cast<size_t>(channels)), buffer_(kBufferFrames * channels_) {
  const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT64_I, SOXR_FLOAT64_I);
  const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_VHQ, 0);
  soxr_error_t error = nullptr;
  soxr_ = soxr_create(fromRate, toRate, static_cast<unsigned>(channels), &error, &io, &quality,
                      nullptr);
  if (error != nullptr || soxr_ == nullptr)
    throw HostError(std::string("cannot convert the sample rate: ") + (error ? error : "libsoxr"));
}

Resampler::~Resampler() { soxr_delete(soxr_); }

// Feeds `frames` frames (none: the end of input) and collects output until
// the converter has taken all input and has nothing more to give.
void Resampler::drain(const double* in, size_t frames, std::vector<double>& out) {
  for (;;) {
    size_t taken = 0, made = 0;
    const soxr_error_t error = soxr_process(soxr_, in, frames, in ? &taken : nullptr,
                                            buffer_.data(), kBufferFrames, &made);
    if (error != nullptr) throw HostError(std::string("sample-rate conversion failed: ") + error);
    out.insert(out.end(), buffer_.begin(), buffer_.begin() + made * channels_);
    if (in != nullptr) {
      in += taken * channels_;
      frames -= taken;
    }
    if (made < kBufferFrames && (in == nullptr ? made == 0 : frames == 0)) return;
  }
}

void Resampler::push(const double* in, size_t frames, std::vector<double>& out) {
  if (frames > 0) drain(in, frames, out);
}

void Resampler::finish(std::vector<double>& out) { drain(nullptr, 0, out); }

}  // namespace veltrax::host
