// The measurement and synthesis code behind `veltrax plot` and `demo`: the
// FFT against a direct DFT, spectrum scaling, string tuning and the riff.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>

#include "host/analysis/FourierAnalysis.h"
#include "host/common/Levels.h"
#include "host/demo/DemoRiff.h"
#include "host/demo/PluckedString.h"

using namespace veltrax::host;

namespace {

TEST(Fft, MatchesTheDirectTransform) {
  uint32_t noise = 12345;
  for (size_t n : {1u, 2u, 8u, 64u}) {
    std::vector<std::complex<double>> data(n);
    for (auto& x : data) x = {nextNoise(noise), nextNoise(noise)};
    auto fast = data;
    fft(fast);
    for (size_t k = 0; k < n; ++k) {
      std::complex<double> direct = 0.0;
      for (size_t t = 0; t < n; ++t) direct += data[t] * std::polar(1.0, -2.0 * M_PI * k * t / n);
      EXPECT_NEAR(std::abs(fast[k] - direct), 0.0, 1e-9) << "n " << n << " k " << k;
    }
  }
  std::vector<std::complex<double>> odd(12);
  EXPECT_THROW(fft(odd), std::invalid_argument);
}

TEST(WelchSpectrum, FullScaleSineReadsZeroDecibelsAtItsFrequency) {
  const double rate = 48000.0, frequency = 1500.0;  // exactly on bin 128 of 4096
  std::vector<double> sine(48000);
  for (size_t i = 0; i < sine.size(); ++i) sine[i] = std::sin(2.0 * M_PI * frequency * i / rate);
  const PowerSpectrum spectrum = welchSpectrum(sine, 4096, rate);
  EXPECT_DOUBLE_EQ(spectrum.binHz, rate / 4096);
  EXPECT_NEAR(spectrum.levelDb[128], 0.0, 0.01);
  EXPECT_LT(spectrum.levelDb[200], -100.0);
}

// The lag of the strongest autocorrelation between 0.4 and 1.5 expected
// periods, refined by a parabola through its neighbours: an octave too high
// or too low, or a mistuned delay line, all move it.
double measuredPeriod(const std::vector<double>& signal, double expected) {
  auto correlation = [&](size_t lag) {
    double sum = 0.0;
    for (size_t i = 0; i + lag < signal.size(); ++i) sum += signal[i] * signal[i + lag];
    return sum;
  };
  size_t best = 0;
  double bestValue = -1e300;
  for (auto lag = static_cast<size_t>(0.4 * expected); lag <= static_cast<size_t>(1.5 * expected);
       ++lag)
    if (const double value = correlation(lag); value > bestValue) best = lag, bestValue = value;
  const double a = correlation(best - 1), b = bestValue, c = correlation(best + 1);
  return static_cast<double>(best) + 0.5 * (a - c) / (a - 2.0 * b + c);
}

TEST(PluckedString, RingsAtItsPitchAndDecays) {
  const double rate = 48000.0;
  for (double frequency : {82.407, 110.0, 329.628, 987.77}) {
    PluckedString string(rate);
    uint32_t noise = 7;
    string.pluck(frequency, 1.0, 0.7, 2.0, noise);
    std::vector<double> out(1 << 14);
    for (double& sample : out) sample = string.next();
    EXPECT_NEAR(measuredPeriod(out, rate / frequency) * frequency / rate, 1.0, 0.004)
        << frequency << " Hz";  // within 7 cents
    EXPECT_LT(peakOf(out.data() + 12000, 4000), 0.7 * peakOf(out.data(), 4000))
        << frequency << " Hz";
  }
}

TEST(DemoRiff, IsDeterministicAtItsLevelAndPlaysThroughout) {
  const auto riff = synthesizeDemoRiff(kDemoSampleRate);
  EXPECT_EQ(riff, synthesizeDemoRiff(kDemoSampleRate));
  EXPECT_NEAR(riff.size() / kDemoSampleRate, 8.5, 1e-3);
  EXPECT_NEAR(toDb(peakOf(riff.data(), riff.size())), kDemoRiffPeakDb, 1e-9);
  // Every half second of the eight played seconds has notes in it.
  const auto half = static_cast<size_t>(kDemoSampleRate / 2);
  for (size_t start = 0; start + half <= 16 * half; start += half)
    EXPECT_GT(toDb(rmsOf(riff.data() + start, half)), -50.0)
        << "at " << start / kDemoSampleRate << " s";
}

}  // namespace
