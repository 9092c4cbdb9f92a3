#include "host/audio/RenderFile.h"

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

#include "host/audio/ProgressBar.h"
#include "host/audio/RenderPath.h"
#include "host/audio/SafeOutputFile.h"
#include "host/audio/SoundFile.h"
#include "host/audio/StandardStreams.h"
#include "host/common/HostError.h"
#include "host/common/Levels.h"

namespace veltrax::host {
namespace {

constexpr size_t kChunkFrames = 1 << 16;

// Output frames (interleaved) as a pass produces them.
using Sink = std::function<void(const double* frames, size_t count)>;

// One pass over the whole input through a fresh signal path, every output
// chunk to `sink`; `progress` gets the fraction of the input read. Returns
// the input's peak.
double renderPass(const std::shared_ptr<ModuleLibrary>& module, const RenderSettings& settings,
                  SoundFileReader& reader, double extraGain, const Sink& sink,
                  const std::function<void(double)>& progress, unsigned& threads) {
  const SF_INFO& in = reader.info();
  const auto channels = static_cast<size_t>(in.channels);
  RenderPath path(module, settings, in.channels, in.samplerate, extraGain);
  threads = path.threads();
  std::vector<double> chunk(kChunkFrames * channels), out;
  double inputPeak = 0.0;
  size_t done = 0;
  while (const size_t frames = reader.read(chunk.data(), kChunkFrames)) {
    inputPeak = peakOf(chunk.data(), frames * channels, inputPeak);
    out.clear();
    path.process(chunk.data(), frames, out);
    sink(out.data(), out.size() / channels);
    done += frames;
    if (in.frames > 0) progress(static_cast<double>(done) / in.frames);
  }
  out.clear();
  path.finish(out);
  sink(out.data(), out.size() / channels);
  return inputPeak;
}

}  // namespace

RenderReport renderFile(const std::shared_ptr<ModuleLibrary>& module,
                        const RenderRequest& request) {
  const auto start = std::chrono::steady_clock::now();
  const RenderSettings& settings = request.settings;
  std::optional<SpooledInput> spooled;
  if (isStandardStream(request.input)) spooled.emplace();
  const std::string inputName = spooled ? "standard input" : request.input;
  SF_INFO rawLayout{};
  if (request.rawInput) {
    rawLayout.samplerate = request.rawInput->sampleRate;
    rawLayout.channels = request.rawInput->channels;
    rawLayout.format = SF_FORMAT_RAW | subtypeOf(request.rawInput->sampleType);
  }
  SoundFileReader reader(spooled ? spooled->path() : request.input,
                         request.rawInput ? &rawLayout : nullptr, inputName);
  const SF_INFO& in = reader.info();
  if (in.samplerate < kMinSampleRate || in.samplerate > kMaxSampleRate)
    throw HostError(inputName + " has a sample rate of " + std::to_string(in.samplerate) +
                    " Hz; veltrax renders files of 1000 to 1536000 Hz");

  const bool toStandardOutput = isStandardStream(request.output);
  const std::string outputName = toStandardOutput ? "standard output" : request.output;
  if (toStandardOutput && request.outputFormat.empty())
    throw HostError(
        "cannot tell the format for standard output: give --format wav (or flac, "
        "aiff, raw, ...)");
  if (!toStandardOutput)
    checkOutputTarget(request.output, spooled ? "" : request.input, request.force);
  const int format =
      outputFormatFor(request.outputFormat.empty() ? request.output : "." + request.outputFormat,
                      in.format, settings.sampleType, in.channels, in.samplerate);

  RenderReport report;
  report.channels = in.channels;
  report.sampleRate = in.samplerate;
  report.outputFormat = format;
  report.lossyInput = isLossy(in.format);
  const auto channels = static_cast<size_t>(in.channels);
  ProgressBar progress("rendering " + outputName);
  const double passes = settings.normalizePeakDbfs ? 2.0 : 1.0;

  // The normalizing pass measures the output peak; the writing pass then
  // scales by target / peak, a hair under so that rounding cannot clip.
  double extraGain = 1.0;
  if (settings.normalizePeakDbfs) {
    double peak = 0.0;
    renderPass(
        module, settings, reader, 1.0,
        [&](const double* y, size_t n) { peak = peakOf(y, n * channels, peak); },
        [&](double done) { progress.update(done / passes); }, report.threads);
    if (peak > 0.0) extraGain = gainOfDb(*settings.normalizePeakDbfs) / peak * (1.0 - 1e-12);
    reader.rewind();
  }

  std::optional<SafeOutputFile> file;
  std::optional<BufferedOutput> buffered;
  const int fd = toStandardOutput ? buffered.emplace().fd() : file.emplace(request.output).fd();
  SoundFileWriter writer(fd, outputName, format, in.channels, in.samplerate);
  report.inputPeak = renderPass(
      module, settings, reader, extraGain,
      [&](const double* y, size_t n) {
        report.outputPeak = peakOf(y, n * channels, report.outputPeak);
        writer.write(y, n);
        report.frames += n;
      },
      [&](double done) { progress.update((passes - 1.0 + done) / passes); }, report.threads);
  progress.finish();
  writer.close();
  if (buffered) buffered->commit();
  if (file) file->commit();
  report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return report;
}

}  // namespace veltrax::host
