#include "host/audio/RenderFile.h"

#include <chrono>
#include <vector>

#include "host/audio/ChannelBank.h"
#include "host/audio/ProgressBar.h"
#include "host/audio/SafeOutputFile.h"
#include "host/audio/SoundFile.h"
#include "host/common/HostError.h"
#include "host/common/Levels.h"

namespace veltrax::host {
namespace {

constexpr size_t kChunkFrames = 1 << 16;

}  // namespace

RenderReport renderFile(const std::shared_ptr<ModuleLibrary>& module, const RenderRequest& request) {
  const auto start = std::chrono::steady_clock::now();
  SoundFileReader reader(request.input);
  const SF_INFO& in = reader.info();
  if (in.samplerate < kMinSampleRate || in.samplerate > kMaxSampleRate)
    throw HostError(request.input + " has a sample rate of " + std::to_string(in.samplerate) +
                    " Hz; the effect runs at 1000 to 1536000 Hz");
  checkOutputTarget(request.output, request.input, request.force);
  const int format = outputFormatFor(request.output, in.format, request.sampleType, in.channels,
                                     in.samplerate);

  ChannelBank bank(module, in.channels, in.samplerate, request.blockSize, request.knobs);
  SafeOutputFile output(request.output);
  SoundFileWriter writer(output.fd(), request.output, format, in.channels, in.samplerate);

  RenderReport report;
  report.channels = in.channels;
  report.sampleRate = in.samplerate;
  report.outputFormat = format;
  report.threads = bank.threads();

  const auto channels = static_cast<size_t>(in.channels);
  std::vector<double> interleaved(kChunkFrames * channels);
  std::vector<std::vector<double>> planar(channels, std::vector<double>(kChunkFrames));
  ProgressBar progress("rendering " + request.output);
  while (const size_t frames = reader.read(interleaved.data(), kChunkFrames)) {
    report.inputPeak = peakOf(interleaved.data(), frames * channels, report.inputPeak);
    for (size_t i = 0; i < frames; ++i)
      for (size_t c = 0; c < channels; ++c) planar[c][i] = interleaved[i * channels + c];
    bank.process(planar, frames);
    for (size_t i = 0; i < frames; ++i)
      for (size_t c = 0; c < channels; ++c) interleaved[i * channels + c] = planar[c][i];
    report.outputPeak = peakOf(interleaved.data(), frames * channels, report.outputPeak);
    writer.write(interleaved.data(), frames);
    report.frames += frames;
    if (in.frames > 0) progress.update(static_cast<double>(report.frames) / in.frames);
  }
  progress.finish();
  writer.close();
  output.commit();
  report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return report;
}

}  // namespace veltrax::host
