#include "host/analysis/FourierAnalysis.h"

#include <cmath>
#include <stdexcept>
#include <utility>

#include "host/common/Levels.h"

namespace veltrax::host {

void fft(std::vector<std::complex<double>>& data) {
  const size_t n = data.size();
  if (n == 0 || (n & (n - 1)) != 0) throw std::invalid_argument("fft size must be a power of two");
  for (size_t i = 1, j = 0; i < n; ++i) {  // bit-reversal permutation
    size_t bit = n >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) std::swap(data[i], data[j]);
  }
  for (size_t length = 2; length <= n; length <<= 1) {
    const double angle = -2.0 * M_PI / static_cast<double>(length);
    for (size_t start = 0; start < n; start += length)
      for (size_t k = 0; k < length / 2; ++k) {
        const std::complex<double> twiddle = std::polar(1.0, angle * static_cast<double>(k));
        const std::complex<double> even = data[start + k];
        const std::complex<double> odd = data[start + k + length / 2] * twiddle;
        data[start + k] = even + odd;
        data[start + k + length / 2] = even - odd;
      }
  }
}

PowerSpectrum welchSpectrum(const std::vector<double>& signal, size_t fftSize, double sampleRate) {
  std::vector<double> window(fftSize);
  double windowSum = 0.0;
  for (size_t i = 0; i < fftSize; ++i) {
    window[i] = 0.5 - 0.5 * std::cos(2.0 * M_PI * static_cast<double>(i) / fftSize);
    windowSum += window[i];
  }
  std::vector<double> power(fftSize / 2 + 1, 0.0);
  std::vector<std::complex<double>> frame(fftSize);
  size_t frames = 0;
  for (size_t start = 0; start + fftSize <= signal.size(); start += fftSize / 2, ++frames) {
    for (size_t i = 0; i < fftSize; ++i) frame[i] = signal[start + i] * window[i];
    fft(frame);
    for (size_t k = 0; k < power.size(); ++k) power[k] += std::norm(frame[k]);
  }
  PowerSpectrum spectrum;
  spectrum.binHz = sampleRate / static_cast<double>(fftSize);
  // A sine of amplitude A gives |X| = A * windowSum / 2 at its bin.
  const double scale = 2.0 / windowSum;
  for (double p : power)
    spectrum.levelDb.push_back(frames ? toDb(std::sqrt(p / static_cast<double>(frames)) * scale)
                                      : toDb(0.0));
  return spectrum;
}

std::vector<double> logFrequencies(double low, double high, size_t count) {
  std::vector<double> frequencies(count);
  for (size_t i = 0; i < count; ++i)
    frequencies[i] =
        low * std::pow(high / low, count > 1 ? static_cast<double>(i) / (count - 1) : 0.0);
  return frequencies;
}

}  // namespace veltrax::host
