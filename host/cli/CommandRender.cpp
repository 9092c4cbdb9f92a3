#include <sndfile.h>

#include <cmath>
#include <cstdio>

#include "host/audio/RenderFile.h"
#include "host/cli/Commands.h"
#include "host/cli/InstallLayout.h"
#include "host/common/Levels.h"
#include "presets/NamedPresets.h"

namespace veltrax::host {
namespace {

std::string presetNames() {
  std::string names;
  for (const auto& preset : kNamedPresets) names += (names.empty() ? "" : ", ") + std::string(preset.name);
  return names;
}

// A knob given on the command line, checked against the dial it was given on.
float knobValue(const char* option, double value, int scale) {
  if (!std::isfinite(value) || value < 0.0 || value > scale) {
    char text[160];
    std::snprintf(text, sizeof text, "%s %g is outside 0..%d", option, value, scale);
    throw UsageError(text);
  }
  return static_cast<float>(value / scale);
}

KnobSettings knobsFrom(const RenderOptions& options) {
  if (options.scale != 1 && options.scale != 10)
    throw UsageError("--scale must be 1 (knob values 0..1) or 10 (the pedal's 0..10 dial)");
  KnobSettings knobs;
  if (!options.preset.empty()) {
    const NamedPreset* preset = findNamedPreset(options.preset);
    if (!preset)
      throw UsageError("unknown preset \"" + options.preset + "\" (choose from " + presetNames() + ")");
    knobs = knobsOf(*preset);
  }
  if (options.sustain) knobs.sustain = knobValue("--sustain", *options.sustain, options.scale);
  if (options.tone) knobs.tone = knobValue("--tone", *options.tone, options.scale);
  if (options.volume) knobs.volume = knobValue("--volume", *options.volume, options.scale);
  knobs.on = !options.off;
  return knobs;
}

}  // namespace

int runRender(const RenderOptions& options) {
  RenderRequest request;
  request.input = options.input;
  request.output = options.output;
  request.knobs = knobsFrom(options);
  request.blockSize = options.blockSize;
  request.force = options.force;
  if (options.blockSize < 1 || options.blockSize > (1 << 20))
    throw UsageError("--block must be 1 to 1048576 samples");
  if (!options.subtype.empty()) {
    request.sampleType = parseSampleType(options.subtype);
    if (!request.sampleType)
      throw UsageError("unknown --subtype \"" + options.subtype + "\" (float, pcm16 or pcm24)");
  }
  const auto module = ModuleLibrary::open(locateModule(options.module));
  const RenderReport report = renderFile(module, request);

  const double duration = static_cast<double>(report.frames) / report.sampleRate;
  const int subtype = report.outputFormat & SF_FORMAT_SUBMASK;
  const bool clipped =
      report.outputPeak > 1.0 && subtype != SF_FORMAT_FLOAT && subtype != SF_FORMAT_DOUBLE;
  std::printf(
      "%s -> %s: %.2f s, %d ch, %d Hz, %s; %.2f s (%.1fx real-time, %u thread%s); "
      "peak in %.1f dBFS, out %.1f dBFS%s\n",
      options.input.c_str(), options.output.c_str(), duration, report.channels, report.sampleRate,
      describeFormat(report.outputFormat).c_str(), report.seconds,
      report.seconds > 0 ? duration / report.seconds : 0.0, report.threads,
      report.threads == 1 ? "" : "s", toDb(report.inputPeak), toDb(report.outputPeak),
      clipped ? " (clipped in the file; lower --volume or use --subtype float)" : "");
  return 0;
}

}  // namespace veltrax::host
