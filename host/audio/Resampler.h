// Streamed sample-rate conversion of interleaved double frames with libsoxr
// at its very-high-quality setting. The output is time-aligned with the
// input (the converter's delay is removed) and, once finished, holds
// round(frames * toRate / fromRate) frames in total.
#pragma once

#include <cstddef>
#include <vector>

typedef struct soxr* soxr_t;

namespace veltrax::host {

class Resampler {
 public:
  // Rates in Hz. Throws HostError if libsoxr refuses them.
  Resampler(double fromRate, double toRate, int channels);
  ~Resampler();
  Resampler(const Resampler&) = delete;
  Resampler& operator=(const Resampler&) = delete;

  // Converts `frames` interleaved input frames and appends what is ready to
  // `out` (the rest follows with later input or with finish()).
  void push(const double* in, size_t frames, std::vector<double>& out);
  // End of input: appends the frames still held back.
  void finish(std::vector<double>& out);

 private:
  void drain(const double* in, size_t frames, std::vector<double>& out);

  soxr_t soxr_ = nullptr;
  size_t channels_;
  std::vector<double> buffer_;
};

}  // namespace veltrax::host
