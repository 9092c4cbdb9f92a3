// Signal levels in dB relative to full scale (1.0).
#pragma once

#include <cmath>
#include <cstddef>
#include <limits>

namespace veltrax::host {

inline double toDb(double linear) {
  return linear > 0.0 ? 20.0 * std::log10(linear) : -std::numeric_limits<double>::infinity();
}

inline double peakOf(const double* samples, size_t count, double peak = 0.0) {
  for (size_t i = 0; i < count; ++i) peak = std::fmax(peak, std::fabs(samples[i]));
  return peak;
}

inline double rmsOf(const double* samples, size_t count) {
  double sum = 0.0;
  for (size_t i = 0; i < count; ++i) sum += samples[i] * samples[i];
  return count ? std::sqrt(sum / static_cast<double>(count)) : 0.0;
}

}  // namespace veltrax::host
