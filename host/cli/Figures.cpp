#include "host/cli/Figures.h"

#include <cstdio>

#include "host/analysis/FourierAnalysis.h"
#include "host/analysis/Measurements.h"
#include "host/cli/PlotScript.h"
#include "host/demo/DemoRiff.h"

namespace veltrax::host {

std::vector<std::string> writeFigures(const std::shared_ptr<ModuleLibrary>& module,
                                      const std::string& directory,
                                      const std::vector<double>& dryRiff,
                                      const std::vector<double>& processedRiff) {
  const double rate = kDemoSampleRate;

  KnobSettings toneKnobs;
  toneKnobs.volume = 1.0f;
  toneKnobs.sustain = 0.5f;
  Table tone = measureToneResponses(module, rate, toneKnobs, {0.0, 0.25, 0.5, 0.75, 1.0},
                                    logFrequencies(20.0, 20000.0, 200));
  tone.caption = "sustain 5, volume 10, 48 kHz";
  writeCsv(directory + "/tone_response.csv", tone);

  KnobSettings levelKnobs;
  levelKnobs.volume = 1.0f;
  levelKnobs.tone = 0.5f;
  std::vector<double> levels;
  for (double db = -100.0; db <= 0.0; db += 2.0) levels.push_back(db);
  Table curves =
      measureLevelCurves(module, rate, levelKnobs, {0.0, 0.25, 0.5, 0.75, 1.0}, levels, 1000.0);
  curves.caption = "1 kHz sine, tone 5, volume 10";
  writeCsv(directory + "/level_curves.csv", curves);

  // The same tone setting at the common file rates: the oversampling
  // filter has coefficient sets for 44.1 and 48 kHz only.
  Table rates{
      "tone 5, sustain 5, volume 10", "frequency_hz", logFrequencies(20.0, 20000.0, 200), {}, {}};
  for (double fileRate : {44100.0, 48000.0, 96000.0, 192000.0}) {
    Table at = measureToneResponses(module, fileRate, toneKnobs, {0.5}, rates.x);
    char name[32];
    std::snprintf(name, sizeof name, "%g kHz", fileRate / 1000.0);
    rates.columnNames.push_back(name);
    rates.columns.push_back(at.columns[0]);
  }
  writeCsv(directory + "/rate_response.csv", rates);

  // The demo riff at a range of input levels (-0.9 dBFS peak is a hot DI).
  std::vector<double> peaks;
  for (double db = -48.0; db <= 12.0; db += 3.0) peaks.push_back(db);
  Table riffLevels = measureSignalLevels(module, rate, levelKnobs, {0.0, 0.5, 1.0}, peaks, dryRiff);
  riffLevels.caption = "demo riff, tone 5, volume 10, no trims";
  writeCsv(directory + "/riff_levels.csv", riffLevels);

  const NamedPreset* preset = findNamedPreset(kSpectrumPreset);
  Table spectrum = compareSpectra({"dry", "processed (" + std::string(preset->label) + ")"},
                                  {&dryRiff, &processedRiff}, rate, 20.0, 20000.0);
  spectrum.caption = "Welch average, 32768-point Hann window, 1/12-octave bands";
  writeCsv(directory + "/riff_spectrum.csv", spectrum);

  runPlotScript(directory);
  return {directory + "/tone_response.png", directory + "/level_curves.png",
          directory + "/riff_spectrum.png", directory + "/rate_response.png",
          directory + "/riff_levels.png"};
}

}  // namespace veltrax::host
