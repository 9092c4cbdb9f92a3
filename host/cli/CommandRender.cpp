#include <sndfile.h>

#include <cmath>
#include <cstdio>

#include "host/audio/RenderFile.h"
#include "host/audio/RenderSet.h"
#include "host/audio/StandardStreams.h"
#include "host/cli/Commands.h"
#include "host/cli/InstallLayout.h"
#include "host/common/Levels.h"
#include "presets/NamedPresets.h"

namespace veltrax::host {
namespace {

std::string presetNames() {
  std::string names;
  for (const auto& preset : kNamedPresets)
    names += (names.empty() ? "" : ", ") + std::string(preset.name);
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
      throw UsageError("unknown preset \"" + options.preset + "\" (choose from " + presetNames() +
                       ")");
    knobs = knobsOf(*preset);
  }
  if (options.sustain) knobs.sustain = knobValue("--sustain", *options.sustain, options.scale);
  if (options.tone) knobs.tone = knobValue("--tone", *options.tone, options.scale);
  if (options.volume) knobs.volume = knobValue("--volume", *options.volume, options.scale);
  knobs.on = !options.off;
  return knobs;
}

// "RATE:CHANNELS:SUBTYPE", e.g. 48000:2:pcm16.
RawLayout rawLayoutFrom(const std::string& text) {
  const std::string usage =
      "--raw-input RATE:CHANNELS:SUBTYPE (e.g. 48000:2:pcm16) for headerless audio";
  RawLayout layout;
  char subtype[16] = {};
  char end = 0;
  if (std::sscanf(text.c_str(), "%d:%d:%15[a-z0-9]%c", &layout.sampleRate, &layout.channels,
                  subtype, &end) != 3 ||
      layout.sampleRate < 1 || layout.channels < 1 || layout.channels > 1024)
    throw UsageError(usage + ", not \"" + text + "\"");
  const auto type = parseSampleType(subtype);
  if (!type) throw UsageError(usage + ": unknown subtype \"" + subtype + "\"");
  layout.sampleType = *type;
  return layout;
}

// The per-file settings of the command line, checked.
RenderSettings settingsFrom(const RenderOptions& options) {
  RenderSettings settings;
  settings.knobs = knobsFrom(options);
  settings.blockSize = options.blockSize;
  settings.preroll = !options.noPreroll;
  settings.inputGainDb = options.inputGainDb;
  settings.outputGainDb = options.outputGainDb;
  settings.normalizePeakDbfs = options.normalizePeakDbfs;
  settings.voicingRate = options.voicingRate;
  if (!options.subtype.empty()) {
    settings.sampleType = parseSampleType(options.subtype);
    if (!settings.sampleType)
      throw UsageError("unknown --subtype \"" + options.subtype +
                       "\" (float, double, pcm16, pcm24 or pcm32)");
  }
  if (const std::string problem = renderSettingsProblem(settings); !problem.empty())
    throw UsageError(problem);
  return settings;
}

// veltrax render -o DIR IN...: the whole set through the multi-stream engine,
// one progress bar, a summary; exit status 1 when any file failed.
int runRenderSet(const RenderOptions& options) {
  RenderSetRequest request;
  request.inputs = options.files;
  request.outputDirectory = options.outputDirectory;
  request.settings = settingsFrom(options);
  request.force = options.force;
  if (request.settings.normalizePeakDbfs || request.settings.voicingRate ||
      !options.format.empty() || !options.rawInput.empty())
    throw UsageError(
        "-o renders files as they are: --normalize, --voicing-rate, --format and "
        "--raw-input work on a single IN OUT");
  if (options.jobs < 1 || options.jobs > 256) throw UsageError("--jobs must be 1 to 256");
  request.jobs = options.jobs;
  const RenderSetReport report = renderSet(request);
  for (const std::string& failure : report.failures)
    std::fprintf(stderr, "veltrax: failed: %s\n", failure.c_str());
  std::printf(
      "%zu files: %zu rendered, %zu skipped (output exists), %zu failed; %.2f s of audio in "
      "%.2f s (%.1fx real-time)\n",
      options.files.size(), report.rendered, report.skipped, report.failures.size(),
      report.audioSeconds, report.wallSeconds,
      report.wallSeconds > 0 ? report.audioSeconds / report.wallSeconds : 0.0);
  return report.failures.empty() ? 0 : 1;
}

}  // namespace

int runRender(const RenderOptions& options) {
  if (!options.outputDirectory.empty()) return runRenderSet(options);
  if (options.files.size() != 2)
    throw UsageError("render takes IN OUT, or -o DIR followed by the input files");
  RenderRequest request;
  request.input = options.files[0];
  request.output = options.files[1];
  request.force = options.force;
  request.outputFormat = options.format;
  if (!options.rawInput.empty()) request.rawInput = rawLayoutFrom(options.rawInput);
  request.settings = settingsFrom(options);
  if (isStandardStream(request.output) && options.format.empty())
    throw UsageError(
        "cannot tell the format for standard output: give --format wav (or flac, "
        "aiff, raw, ...)");
  const auto module = ModuleLibrary::open(locateModule(options.module));
  const RenderReport report = renderFile(module, request);

  const double duration = static_cast<double>(report.frames) / report.sampleRate;
  const int subtype = report.outputFormat & SF_FORMAT_SUBMASK;
  const bool clipped =
      report.outputPeak > 1.0 && subtype != SF_FORMAT_FLOAT && subtype != SF_FORMAT_DOUBLE;
  const bool lossyToPcm =
      report.lossyInput && options.subtype.empty() && !isLossy(report.outputFormat);
  const std::string input = isStandardStream(request.input) ? "stdin" : request.input;
  const std::string output = isStandardStream(request.output) ? "stdout" : request.output;
  // The summary goes to stderr when the audio goes to stdout.
  std::fprintf(isStandardStream(request.output) ? stderr : stdout,
               "%s -> %s: %.2f s, %d ch, %d Hz, %s%s; %.2f s (%.1fx real-time, %u thread%s); "
               "peak in %.1f dBFS, out %.1f dBFS%s\n",
               input.c_str(), output.c_str(), duration, report.channels, report.sampleRate,
               describeFormat(report.outputFormat).c_str(),
               lossyToPcm ? " (default for a lossy input)" : "", report.seconds,
               report.seconds > 0 ? duration / report.seconds : 0.0, report.threads,
               report.threads == 1 ? "" : "s", toDb(report.inputPeak), toDb(report.outputPeak),
               clipped ? " (clipped in the file; lower --output-gain, use --normalize or "
                         "--subtype float)"
                       : "");
  return 0;
}

}  // namespace veltrax::host
