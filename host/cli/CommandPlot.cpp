#include <cstdio>

#include "host/analysis/Measurements.h"
#include "host/audio/SafeOutputFile.h"
#include "host/cli/Commands.h"
#include "host/cli/Figures.h"
#include "host/cli/InstallLayout.h"
#include "host/demo/DemoRiff.h"

namespace veltrax::host {

int runPlot(const PlotOptions& options) {
  createDirectories(options.directory);
  const auto module = ModuleLibrary::open(locateModule(options.module));
  const std::vector<double> riff = synthesizeDemoRiff(kDemoSampleRate);
  const std::vector<double> processed = renderMono(
      module, knobsOf(*findNamedPreset(kSpectrumPreset)), kDemoSampleRate, kDemoBlockSize, riff);
  for (const auto& figure : writeFigures(module, options.directory, riff, processed))
    std::printf("%s\n", figure.c_str());
  return 0;
}

}  // namespace veltrax::host
