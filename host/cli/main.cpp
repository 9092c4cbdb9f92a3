// veltrax: the command-line host. Loads the effect module as any host does
// and renders files through it, demonstrates it, describes it and measures it.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>

#include "host/audio/OutputFormat.h"
#include "host/cli/Commands.h"
#include "presets/NamedPresets.h"

using namespace veltrax::host;

namespace {

std::string presetList() {
  std::string text = "Presets (--preset NAME; sustain/tone/volume on the 0..10 dial):\n";
  char line[128];
  for (const auto& preset : veltrax::kNamedPresets) {
    std::snprintf(line, sizeof line, "  %-14.*s %-14.*s %4.1f %4.1f %4.1f\n",
                  static_cast<int>(preset.name.size()), preset.name.data(),
                  static_cast<int>(preset.label.size()), preset.label.data(), preset.sustain * 10.0,
                  preset.tone * 10.0, preset.volume * 10.0);
    text += line;
  }
  return text;
}

void addModuleOption(CLI::App* command, std::string& module) {
  command->add_option("--module", module,
                      "Effect module to load (default: $VELTRAX_MODULE, else the veltrax.so "
                      "of this build or installation)");
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{
      "veltrax - render audio through the VELTRAX fuzz/distortion pedal model.\n\n"
      "The effect is a mono plug-in module (veltrax.so) that veltrax loads and drives\n"
      "like any plug-in host. Exit status: 0 on success, 1 when a command fails,\n"
      "2 for a command line that cannot be carried out.",
      "veltrax"};
  app.set_version_flag("--version", "veltrax " VELTRAX_VERSION, "Print the version and exit");
  app.require_subcommand(1);
  app.footer("Run 'veltrax COMMAND --help' for the options of a command.");

  RenderOptions render;
  double sustain = 0, tone = 0, volume = 0;
  auto* renderCommand = app.add_subcommand(
      "render", "Render an audio file through the effect (each channel through its own instance).");
  renderCommand
      ->add_option("FILES", render.files,
                   "IN OUT: the input (any format libsndfile reads, or - for standard input) and "
                   "the output file, whose extension picks the format (.wav, .flac, .aiff, .ogg, "
                   ".mp3, .opus, ...), or - for standard output (with --format); with -o: the "
                   "input files")
      ->required();
  renderCommand->add_option("-o,--outdir", render.outputDirectory,
                            "Render every input into this directory (same file names)");
  renderCommand->add_option("--jobs", render.jobs, "Threads for -o (default 1)");
  renderCommand->add_option("--preset", render.preset, "Start from a named setting (list below)");
  auto* sustainOption = renderCommand->add_option("--sustain", sustain, "Sustain (drive), 0..1");
  auto* toneOption = renderCommand->add_option("--tone", tone, "Tone, 0..1 (dark to bright)");
  auto* volumeOption = renderCommand->add_option("--volume", volume, "Volume, 0..1");
  renderCommand->add_flag("--off", render.off,
                          "Switch the effect off (dry signal through the module)");
  renderCommand->add_option(
      "--scale", render.scale,
      "Knob scale: 1 (default) for 0..1 values, 10 for the pedal's 0..10 dial");
  renderCommand->add_option("--block", render.blockSize, "Block length in samples (default 512)");
  renderCommand->add_option("--subtype", render.subtype,
                            "Output sample type: float, double, pcm16, pcm24 or pcm32 (default: "
                            "as the input; 24-bit PCM for a lossy input)");
  renderCommand->add_option("--input-gain", render.inputGainDb,
                            "Trim before the pedal, dB (default 0; more drives it harder)");
  renderCommand->add_option("--output-gain", render.outputGainDb,
                            "Trim after the pedal, dB (default 0)");
  renderCommand
      ->add_option("--normalize", render.normalizePeakDbfs,
                   "Second pass: scale the output so its peak is PEAK_DBFS (at most 0)")
      ->type_name("PEAK_DBFS");
  renderCommand->add_flag("--no-preroll", render.noPreroll,
                          "Start the audio on the knob ramps instead of after one block of "
                          "silence (the output then depends on --block)");
  renderCommand
      ->add_option("--voicing-rate", render.voicingRate,
                   "Run the pedal at this rate (e.g. 48000) between two high-quality "
                   "conversions, so it sounds alike at every file rate (default: off)")
      ->type_name("HZ");
  renderCommand->add_option("--format", render.format,
                            "Output format by name (wav, flac, aiff, raw, ...): needed for "
                            "OUT -, else overrides OUT's extension");
  renderCommand
      ->add_option("--raw-input", render.rawInput,
                   "Read IN as headerless audio of this layout, e.g. 48000:1:pcm16")
      ->type_name("RATE:CHANNELS:SUBTYPE");
  renderCommand->add_flag("--force", render.force,
                          "Replace OUT if it exists (with -o: render outputs that exist again)");
  addModuleOption(renderCommand, render.module);
  renderCommand->footer(
      presetList() +
      "\nUnset knobs take the preset's values, or 0.5 without a preset. OUT is written to a\n"
      "temporary file next to it and renamed into place only when complete; OUT may not be\n"
      "IN (also through links). The pedal's output level hardly follows its input: a guitar\n"
      "DI comes out at about -22 dBFS RMS with volume 10; --output-gain lifts it. Lossy\n"
      "output: " +
      lossyOutputSupport() +
      ".\nExamples:\n"
      "  veltrax render guitar.wav fuzz.wav --preset doom --output-gain 6\n"
      "  veltrax render guitar.flac out.wav --sustain 8 --tone 7 --volume 10 --scale 10 "
      "--output-gain 4\n"
      "  sox guitar.wav -t wav - | veltrax render - - --format flac --preset doom > fuzz.flac\n"
      "  veltrax render -o fuzzed/ takes/*.wav --preset doom --jobs 2");

  DemoOptions demo;
  auto* demoCommand = app.add_subcommand(
      "demo",
      "Synthesise a guitar riff, render it through the named presets, write WAVs, "
      "figures and a summary.");
  demoCommand->add_option("DIR", demo.directory, "Output directory (default demo-out)");
  demoCommand->add_flag("--force", demo.force, "Write into DIR even if it has files in it");
  addModuleOption(demoCommand, demo.module);

  InfoOptions info;
  auto* infoCommand = app.add_subcommand(
      "info", "Describe the module: identity, parameters, programs, entry points.");
  addModuleOption(infoCommand, info.module);

  PlotOptions plot;
  auto* plotCommand = app.add_subcommand(
      "plot",
      "Measure the module and draw PNG figures (tone responses, level curves, riff "
      "spectrum).");
  plotCommand->add_option("DIR", plot.directory, "Output directory")->required();
  addModuleOption(plotCommand, plot.module);

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    std::fprintf(stderr, "veltrax: error: %s (see veltrax --help)\n", e.what());
    return 2;
  }

  try {
    if (*sustainOption) render.sustain = sustain;
    if (*toneOption) render.tone = tone;
    if (*volumeOption) render.volume = volume;
    if (*renderCommand) return runRender(render);
    if (*demoCommand) return runDemo(demo);
    if (*infoCommand) return runInfo(info);
    if (*plotCommand) return runPlot(plot);
  } catch (const UsageError& e) {
    std::fprintf(stderr, "veltrax: error: %s\n", e.what());
    return 2;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "veltrax: error: %s\n", e.what());
    return 1;
  }
  return 2;
}
