#include <sndfile.h>

#include <chrono>
#include <cstdio>
#include <filesystem>

#include "host/analysis/Measurements.h"
#include "host/audio/SafeOutputFile.h"
#include "host/audio/SoundFile.h"
#include "host/cli/Commands.h"
#include "host/cli/Figures.h"
#include "host/cli/InstallLayout.h"
#include "host/common/Levels.h"
#include "host/common/ParallelFor.h"
#include "host/demo/DemoRiff.h"
#include "presets/NamedPresets.h"

namespace veltrax::host {
namespace {

// The demo owns its files and replaces them on every run.
void writeDemoWav(const std::string& path, const std::vector<double>& samples) {
  SafeOutputFile output(path);
  SoundFileWriter writer(output.fd(), path, SF_FORMAT_WAV | SF_FORMAT_PCM_24, 1,
                         static_cast<int>(kDemoSampleRate));
  writer.write(samples.data(), samples.size());
  writer.close();
  output.commit();
}

void printRow(const std::string& file, const std::string& setting, const NamedPreset* preset,
              const std::vector<double>& samples) {
  char knobs[40] = "      -     -      -";
  if (preset)
    std::snprintf(knobs, sizeof knobs, "%7.1f %5.1f %6.1f", preset->sustain * 10.0,
                  preset->tone * 10.0, preset->volume * 10.0);
  std::printf("  %-18s %-14s %s %9.1f %8.1f\n", file.c_str(), setting.c_str(), knobs,
              toDb(peakOf(samples.data(), samples.size())),
              toDb(rmsOf(samples.data(), samples.size())));
}

}  // namespace

int runDemo(const DemoOptions& options) {
  const std::string& dir = options.directory;
  std::error_code error;
  if (!options.force && std::filesystem::is_directory(dir, error) &&
      !std::filesystem::is_empty(dir, error))
    throw HostError("demo directory " + dir + " is not empty (use --force to write into it)");
  createDirectories(dir);
  const auto module = ModuleLibrary::open(locateModule(options.module));

  const std::vector<double> riff = synthesizeDemoRiff(kDemoSampleRate);
  const double riffSeconds = static_cast<double>(riff.size()) / kDemoSampleRate;
  writeDemoWav(dir + "/dry.wav", riff);

  std::vector<std::vector<double>> rendered(kNamedPresets.size());
  const unsigned threads = usableCpuCount();
  const auto start = std::chrono::steady_clock::now();
  parallelFor(kNamedPresets.size(), threads, [&](size_t p) {
    rendered[p] =
        renderMono(module, knobsOf(kNamedPresets[p]), kDemoSampleRate, kDemoBlockSize, riff);
  });
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  for (size_t p = 0; p < kNamedPresets.size(); ++p)
    writeDemoWav(dir + "/" + std::string(kNamedPresets[p].name) + ".wav", rendered[p]);

  std::printf("VELTRAX demo: %.2f s plucked-string riff at %.0f Hz, written to %s/\n\n",
              riffSeconds, kDemoSampleRate, dir.c_str());
  std::printf("  %-18s %-14s %7s %5s %6s %9s %8s\n", "file", "setting", "sustain", "tone", "volume",
              "peak dBFS", "RMS dBFS");
  printRow("dry.wav", "dry riff", nullptr, riff);
  const std::vector<double>* spectrumRender = &rendered.front();
  for (size_t p = 0; p < kNamedPresets.size(); ++p) {
    const NamedPreset& preset = kNamedPresets[p];
    printRow(std::string(preset.name) + ".wav", std::string(preset.label), &preset, rendered[p]);
    if (preset.name == kSpectrumPreset) spectrumRender = &rendered[p];
  }
  const double audioSeconds = riffSeconds * static_cast<double>(kNamedPresets.size());
  std::printf(
      "\nrendered %zu settings (%.1f s of audio) in %.2f s: %.1fx real-time on %u thread%s\n",
      kNamedPresets.size(), audioSeconds, seconds, audioSeconds / seconds, threads,
      threads == 1 ? "" : "s");
  std::fflush(stdout);

  const auto figures = writeFigures(module, dir, riff, *spectrumRender);
  std::printf("figures:");
  for (const auto& figure : figures) std::printf(" %s", figure.c_str());
  std::printf("\n");
  return 0;
}

}  // namespace veltrax::host
