#include "host/analysis/Measurements.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <complex>
#include <cstdio>
#include <cstring>

#include "host/analysis/FourierAnalysis.h"
#include "host/common/HostError.h"
#include "host/common/Levels.h"
#include "host/common/ParallelFor.h"
#include "host/plugin/EffectInstance.h"

namespace veltrax::host {
namespace {

constexpr int32_t kBlock = 4096;
constexpr size_t kImpulseLength = 1 << 16;
// Small enough that the clipping curve is a straight line at every setting,
// large enough that the curve's table position keeps its precision: between
// 1e-10 and 1e-6 the measured gains agree to 1e-4 dB.
constexpr double kImpulseAmplitude = 1e-8;
constexpr size_t kSpectrumFftSize = 32768;

// A prepared instance that has already run past the knob ramps and filter
// glides of its first blocks.
std::unique_ptr<EffectInstance> settledInstance(const std::shared_ptr<ModuleLibrary>& module,
                                                double sampleRate, const KnobSettings& knobs) {
  auto instance = EffectInstance::create(module);
  instance->prepare(sampleRate, kBlock);
  applyKnobs(*instance, knobs);
  std::vector<double> silence(kBlock, 0.0), out(kBlock);
  for (int i = 0; i < 2; ++i) instance->process(silence.data(), out.data(), kBlock);
  return instance;
}

void processAll(EffectInstance& instance, const double* in, double* out, size_t count) {
  for (size_t start = 0; start < count; start += kBlock) {
    const auto n = static_cast<int32_t>(std::min<size_t>(kBlock, count - start));
    instance.process(in + start, out + start, n);
  }
}

std::string settingName(const char* knob, double value) {
  char name[32];
  std::snprintf(name, sizeof name, "%s %.1f", knob, value * 10.0);
  return name;
}

}  // namespace

void writeCsv(const std::string& path, const Table& table) {
  FILE* file = std::fopen(path.c_str(), "w");
  if (!file) throw HostError("cannot write " + path + ": " + std::strerror(errno));
  if (!table.caption.empty()) std::fprintf(file, "# %s\n", table.caption.c_str());
  std::fprintf(file, "%s", table.xName.c_str());
  for (const auto& name : table.columnNames) std::fprintf(file, ",%s", name.c_str());
  std::fprintf(file, "\n");
  for (size_t i = 0; i < table.x.size(); ++i) {
    std::fprintf(file, "%.6g", table.x[i]);
    for (const auto& column : table.columns)
      std::fprintf(file, std::isfinite(column[i]) ? ",%.4f" : ",", column[i]);
    std::fprintf(file, "\n");
  }
  const bool failed = std::ferror(file) != 0;
  if (std::fclose(file) != 0 || failed)
    throw HostError("cannot write " + path + ": " + std::strerror(errno));
}

std::vector<double> renderMono(const std::shared_ptr<ModuleLibrary>& module,
                               const KnobSettings& knobs, double sampleRate, int32_t blockSize,
                               const std::vector<double>& signal) {
  auto instance = EffectInstance::create(module);
  instance->prepare(sampleRate, blockSize);
  applyKnobs(*instance, knobs);
  std::vector<double> out(signal.size());
  for (size_t start = 0; start < signal.size(); start += blockSize) {
    const auto n = static_cast<int32_t>(std::min<size_t>(blockSize, signal.size() - start));
    instance->process(signal.data() + start, out.data() + start, n);
  }
  return out;
}

Table measureToneResponses(const std::shared_ptr<ModuleLibrary>& module, double sampleRate,
                           KnobSettings knobs, const std::vector<double>& tones,
                           const std::vector<double>& frequencies) {
  Table table{"", "frequency_hz", frequencies, {}, std::vector<std::vector<double>>(tones.size())};
  for (double tone : tones) table.columnNames.push_back(settingName("tone", tone));
  parallelFor(tones.size(), usableCpuCount(), [&](size_t t) {
    KnobSettings setting = knobs;
    setting.tone = static_cast<float>(tones[t]);
    auto instance = settledInstance(module, sampleRate, setting);
    std::vector<double> in(kImpulseLength, 0.0), out(kImpulseLength);
    in[0] = kImpulseAmplitude;
    processAll(*instance, in.data(), out.data(), kImpulseLength);
    std::vector<std::complex<double>> spectrum(out.begin(), out.end());
    fft(spectrum);
    const double binHz = sampleRate / static_cast<double>(kImpulseLength);
    for (double f : frequencies) {
      const auto bin = std::min(static_cast<size_t>(std::lround(f / binHz)), kImpulseLength / 2);
      table.columns[t].push_back(toDb(std::abs(spectrum[bin]) / kImpulseAmplitude));
    }
  });
  return table;
}

Table measureLevelCurves(const std::shared_ptr<ModuleLibrary>& module, double sampleRate,
                         KnobSettings knobs, const std::vector<double>& sustains,
                         const std::vector<double>& inputLevelsDb, double frequency) {
  Table table{
      "", "input_dbfs", inputLevelsDb, {}, std::vector<std::vector<double>>(sustains.size())};
  for (double sustain : sustains) table.columnNames.push_back(settingName("sustain", sustain));
  // Each level plays for a settling part and a measured part of whole periods.
  const auto segment = static_cast<size_t>(0.1 * sampleRate);
  parallelFor(sustains.size(), usableCpuCount(), [&](size_t s) {
    KnobSettings setting = knobs;
    setting.sustain = static_cast<float>(sustains[s]);
    auto instance = settledInstance(module, sampleRate, setting);
    std::vector<double> in(2 * segment), out(2 * segment);
    size_t phase = 0;
    for (double levelDb : inputLevelsDb) {
      const double amplitude = std::pow(10.0, levelDb / 20.0);
      for (double& sample : in)
        sample = amplitude *
                 std::sin(2.0 * M_PI * frequency * static_cast<double>(phase++) / sampleRate);
      processAll(*instance, in.data(), out.data(), in.size());
      table.columns[s].push_back(toDb(peakOf(out.data() + segment, segment)));
    }
  });
  return table;
}

Table measureSignalLevels(const std::shared_ptr<ModuleLibrary>& module, double sampleRate,
                          KnobSettings knobs, const std::vector<double>& sustains,
                          const std::vector<double>& inputPeaksDb,
                          const std::vector<double>& signal) {
  Table table{
      "",
      "input_peak_dbfs",
      inputPeaksDb,
      {},
      std::vector<std::vector<double>>(sustains.size(), std::vector<double>(inputPeaksDb.size()))};
  for (double sustain : sustains) table.columnNames.push_back(settingName("sustain", sustain));
  const double peak = peakOf(signal.data(), signal.size());
  const size_t cells = sustains.size() * inputPeaksDb.size();
  parallelFor(cells, usableCpuCount(), [&](size_t cell) {
    const size_t s = cell / inputPeaksDb.size(), l = cell % inputPeaksDb.size();
    KnobSettings setting = knobs;
    setting.sustain = static_cast<float>(sustains[s]);
    const double gain = std::pow(10.0, inputPeaksDb[l] / 20.0) / peak;
    std::vector<double> scaled(signal);
    for (double& x : scaled) x *= gain;
    std::vector<double> out(scaled.size());
    processAll(*settledInstance(module, sampleRate, setting), scaled.data(), out.data(),
               out.size());
    table.columns[s][l] = toDb(rmsOf(out.data(), out.size()));
  });
  return table;
}

Table compareSpectra(const std::vector<std::string>& names,
                     const std::vector<const std::vector<double>*>& signals, double sampleRate,
                     double low, double high) {
  // Power averaged over 1/12-octave bands on a log frequency grid: readable
  // where raw bins would be a thicket of harmonics.
  const std::vector<double> centres = logFrequencies(low, high, 400);
  const double halfBand = std::pow(2.0, 1.0 / 24.0);
  Table table{"", "frequency_hz", centres, names, std::vector<std::vector<double>>(signals.size())};
  for (size_t s = 0; s < signals.size(); ++s) {
    const PowerSpectrum spectrum = welchSpectrum(*signals[s], kSpectrumFftSize, sampleRate);
    const size_t lastBin = spectrum.levelDb.size() - 1;
    for (double centre : centres) {
      auto bin = [&](double f) {
        return std::min(lastBin, static_cast<size_t>(std::lround(f / spectrum.binHz)));
      };
      const size_t first = bin(centre / halfBand), last = std::max(first, bin(centre * halfBand));
      double power = 0.0;
      for (size_t k = first; k <= last; ++k) power += std::pow(10.0, spectrum.levelDb[k] / 10.0);
      table.columns[s].push_back(10.0 * std::log10(power / static_cast<double>(last - first + 1)));
    }
  }
  return table;
}

}  // namespace veltrax::host
