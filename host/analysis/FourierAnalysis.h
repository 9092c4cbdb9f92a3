// Spectral analysis for the measurements: an in-place radix-2 FFT and a
// Welch power spectrum (Hann window, 50 % overlap) scaled so that a
// full-scale sine reads 0 dB at its frequency.
#pragma once

#include <complex>
#include <cstddef>
#include <vector>

namespace veltrax::host {

// Forward transform X[k] = sum x[n] e^(-2 pi i k n / N); N a power of two.
void fft(std::vector<std::complex<double>>& data);

struct PowerSpectrum {
  double binHz = 0.0;           // spacing of the bins
  std::vector<double> levelDb;  // bins 0 .. N/2
};

PowerSpectrum welchSpectrum(const std::vector<double>& signal, size_t fftSize, double sampleRate);

// `count` frequencies spaced evenly on a log axis from `low` to `high` Hz.
std::vector<double> logFrequencies(double low, double high, size_t count);

}  // namespace veltrax::host
