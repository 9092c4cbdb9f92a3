#include "host/audio/RenderSet.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

#include <sys/stat.h>

#include "dsp/multistream/StreamBatch.h"
#include "host/audio/ProgressBar.h"
#include "host/audio/RenderFile.h"
#include "host/audio/RenderPath.h"
#include "host/audio/SafeOutputFile.h"
#include "host/audio/SoundFile.h"
#include "host/common/HostError.h"

namespace veltrax::host {
namespace {

namespace ms = veltrax::multistream;

constexpr size_t kChunkTarget = 1 << 14;  // frames read per file per round

// One input planned for rendering.
struct PlannedFile {
  std::string input, output;
  int channels = 0, sampleRate = 0, format = 0;
  size_t frames = 0;
};

// A file while it renders: its reader, its safe output and its lanes.
struct OpenFile {
  const PlannedFile* plan = nullptr;
  std::unique_ptr<SoundFileReader> reader;
  std::unique_ptr<SafeOutputFile> output;
  std::unique_ptr<SoundFileWriter> writer;
  std::vector<double> interleaved;
  std::vector<std::vector<double>> planar;  // one row per channel
  size_t chunkFrames = 0;                   // frames read this round
  bool finished = false;
};

// Shared by the worker threads.
class SetProgress {
 public:
  SetProgress(size_t totalFrames, RenderSetReport& report)
      : total_(totalFrames), report_(report), bar_("rendering") {}

  void advance(size_t frames) {
    std::lock_guard<std::mutex> lock(mutex_);
    done_ += frames;
    if (total_ > 0) bar_.update(static_cast<double>(done_) / static_cast<double>(total_));
  }
  void rendered(const PlannedFile& f) {
    std::lock_guard<std::mutex> lock(mutex_);
    ++report_.rendered;
    report_.audioSeconds += static_cast<double>(f.frames) / f.sampleRate;
  }
  void failed(const std::string& input, const std::string& reason) {
    std::lock_guard<std::mutex> lock(mutex_);
    report_.failures.push_back(input + ": " + reason);
  }
  void finish() { bar_.finish(); }

 private:
  std::mutex mutex_;
  size_t total_, done_ = 0;
  RenderSetReport& report_;
  ProgressBar bar_;
};

// Groups of files of one rate whose channels fill about one batch of lanes.
std::vector<std::vector<const PlannedFile*>> groupByRate(const std::vector<PlannedFile>& files,
                                                         int lanes) {
  std::vector<const PlannedFile*> order;
  for (const PlannedFile& f : files) order.push_back(&f);
  std::stable_sort(order.begin(), order.end(), [](const PlannedFile* a, const PlannedFile* b) {
    return a->sampleRate < b->sampleRate;
  });
  std::vector<std::vector<const PlannedFile*>> groups;
  int channels = 0;
  for (const PlannedFile* f : order) {
    if (groups.empty() || groups.back().front()->sampleRate != f->sampleRate ||
        channels + f->channels > lanes) {
      groups.emplace_back();
      channels = 0;
    }
    groups.back().push_back(f);
    channels += f->channels;
  }
  return groups;
}

// Renders one group: every channel of every file in a lane of its own.
void renderGroup(const std::vector<const PlannedFile*>& group, const RenderSetRequest& request,
                 SetProgress& progress) {
  const RenderSettings& settings = request.settings;
  const size_t block = static_cast<size_t>(settings.blockSize);
  const size_t chunk = (kChunkTarget + block - 1) / block * block;  // whole blocks per round
  std::vector<OpenFile> files;
  for (const PlannedFile* plan : group) {
    try {
      OpenFile f;
      f.plan = plan;
      f.reader = std::make_unique<SoundFileReader>(plan->input);
      f.output = std::make_unique<SafeOutputFile>(plan->output);
      f.writer = std::make_unique<SoundFileWriter>(f.output->fd(), plan->output, plan->format,
                                                   plan->channels, plan->sampleRate);
      f.interleaved.resize(chunk * static_cast<size_t>(plan->channels));
      f.planar.assign(static_cast<size_t>(plan->channels), std::vector<double>(chunk));
      files.push_back(std::move(f));
    } catch (const HostError& e) {
      progress.failed(plan->input, e.what());
    }
  }

  // Lanes: (file, channel) pairs, batch by batch.
  struct Lane {
    OpenFile* file;
    int channel;
  };
  std::vector<Lane> lanes;
  for (OpenFile& f : files)
    for (int c = 0; c < f.plan->channels; ++c) lanes.push_back({&f, c});
  const ms::KernelChoice kernel = ms::bestKernel();
  const ms::Knobs knobs{settings.knobs.sustain, settings.knobs.tone, settings.knobs.volume,
                        settings.knobs.on ? 1.0f : 0.0f};
  const double inputGain = gainOfDb(settings.inputGainDb),
               outputGain = gainOfDb(settings.outputGainDb);
  std::vector<std::unique_ptr<ms::StreamBatch>> batches;
  for (size_t first = 0; first < lanes.size(); first += static_cast<size_t>(kernel.lanes)) {
    batches.push_back(
        std::make_unique<ms::StreamBatch>(static_cast<float>(group.front()->sampleRate), kernel));
    for (int l = 0; l < kernel.lanes && first + static_cast<size_t>(l) < lanes.size(); ++l)
      batches.back()->startStream(l, knobs);
  }
  if (settings.preroll) {  // one block of silence through every lane, its output dropped
    const std::vector<double> silence(block, 0.0);
    std::vector<double> dropped(block * static_cast<size_t>(kernel.lanes));
    std::vector<const double*> in(static_cast<size_t>(kernel.lanes), silence.data());
    std::vector<double*> out(static_cast<size_t>(kernel.lanes));
    std::vector<int32_t> n(static_cast<size_t>(kernel.lanes), static_cast<int32_t>(block));
    for (size_t l = 0; l < out.size(); ++l) out[l] = dropped.data() + l * block;
    for (auto& batch : batches) batch->processBlock(in.data(), out.data(), n.data());
  }

  for (;;) {
    bool any = false;
    for (OpenFile& f : files) {
      f.chunkFrames = 0;
      if (f.finished) continue;
      try {
        f.chunkFrames = f.reader->read(f.interleaved.data(), chunk);
      } catch (const HostError& e) {
        progress.failed(f.plan->input, e.what());
        f.finished = true;
        f.output.reset();  // not committed: the target stays as it was
        continue;
      }
      if (f.chunkFrames == 0) {
        f.finished = true;
        continue;
      }
      any = true;
      const size_t channels = static_cast<size_t>(f.plan->channels);
      if (inputGain != 1.0)
        for (size_t i = 0; i < f.chunkFrames * channels; ++i) f.interleaved[i] *= inputGain;
      for (size_t i = 0; i < f.chunkFrames; ++i)
        for (size_t c = 0; c < channels; ++c) f.planar[c][i] = f.interleaved[i * channels + c];
    }
    if (!any) break;

    for (size_t b = 0; b < batches.size(); ++b) {
      const size_t first = b * static_cast<size_t>(kernel.lanes);
      std::vector<const double*> in(static_cast<size_t>(kernel.lanes));
      std::vector<double*> out(static_cast<size_t>(kernel.lanes));
      std::vector<int32_t> n(static_cast<size_t>(kernel.lanes));
      for (size_t pos = 0; pos < chunk; pos += block) {
        bool work = false;
        for (size_t l = 0; l < static_cast<size_t>(kernel.lanes); ++l) {
          n[l] = 0;
          if (first + l >= lanes.size()) continue;
          const Lane& lane = lanes[first + l];
          double* samples = lane.file->planar[static_cast<size_t>(lane.channel)].data() + pos;
          if (pos < lane.file->chunkFrames) {
            n[l] = static_cast<int32_t>(std::min(block, lane.file->chunkFrames - pos));
            in[l] = samples;
            out[l] = samples;
            work = true;
          }
        }
        if (!work) break;
        batches[b]->processBlock(in.data(), out.data(), n.data());
      }
    }

    for (OpenFile& f : files) {
      if (f.chunkFrames == 0 || !f.output) continue;
      const size_t channels = static_cast<size_t>(f.plan->channels);
      for (size_t i = 0; i < f.chunkFrames; ++i)
        for (size_t c = 0; c < channels; ++c) f.interleaved[i * channels + c] = f.planar[c][i];
      if (outputGain != 1.0)
        for (size_t i = 0; i < f.chunkFrames * channels; ++i) f.interleaved[i] *= outputGain;
      try {
        f.writer->write(f.interleaved.data(), f.chunkFrames);
      } catch (const HostError& e) {
        progress.failed(f.plan->input, e.what());
        f.finished = true;
        f.writer.reset();
        f.output.reset();
      }
      progress.advance(f.chunkFrames);
    }
  }

  for (OpenFile& f : files) {
    if (!f.output) continue;
    try {
      f.writer->close();
      f.output->commit();
      progress.rendered(*f.plan);
    } catch (const HostError& e) {
      progress.failed(f.plan->input, e.what());
    }
  }
}

// An existing output that is not the input itself.
bool finishedOutput(const std::string& input, const std::string& output) {
  struct stat in {
  }, out{};
  if (::stat(output.c_str(), &out) != 0) return false;
  return ::stat(input.c_str(), &in) != 0 || in.st_dev != out.st_dev || in.st_ino != out.st_ino;
}

}  // namespace

std::string outputPathFor(const std::string& directory, const std::string& input) {
  const size_t slash = input.find_last_of('/');
  const std::string name = slash == std::string::npos ? input : input.substr(slash + 1);
  return directory.empty() || directory.back() == '/' ? directory + name : directory + "/" + name;
}

RenderSetReport renderSet(const RenderSetRequest& request) {
  const auto start = std::chrono::steady_clock::now();
  RenderSetReport report;
  if (request.settings.normalizePeakDbfs || request.settings.voicingRate)
    throw HostError("a file set renders without normalizing and at each file's own rate");
  createDirectories(request.outputDirectory);

  std::vector<PlannedFile> planned;
  size_t totalFrames = 0;
  std::set<std::string> outputs;
  for (const std::string& input : request.inputs) {
    PlannedFile f;
    f.input = input;
    f.output = outputPathFor(request.outputDirectory, input);
    try {
      if (input == "-") throw HostError("standard input needs the single-file form IN OUT");
      if (!outputs.insert(f.output).second)
        throw HostError("another input already renders to " + f.output);
      const SF_INFO info = SoundFileReader(input).info();
      if (info.samplerate < kMinSampleRate || info.samplerate > kMaxSampleRate)
        throw HostError("sample rate " + std::to_string(info.samplerate) +
                        " Hz; the effect runs at 1000 to 1536000 Hz");
      if (!request.force && finishedOutput(input, f.output)) {  // rendered by an earlier run
        ++report.skipped;
        continue;
      }
      checkOutputTarget(f.output, input, request.force);  // never the input, also through links
      f.channels = info.channels;
      f.sampleRate = info.samplerate;
      f.frames = info.frames > 0 ? static_cast<size_t>(info.frames) : 0;
      f.format = outputFormatFor(f.output, info.format, request.settings.sampleType, info.channels,
                                 info.samplerate);
    } catch (const HostError& e) {
      report.failures.push_back(input + ": " + e.what());
      continue;
    }
    totalFrames += f.frames;
    planned.push_back(f);
  }

  const auto groups = groupByRate(planned, ms::bestKernel().lanes);
  SetProgress progress(totalFrames, report);
  std::atomic<size_t> next{0};
  auto worker = [&] {
    for (size_t g; (g = next.fetch_add(1)) < groups.size();)
      renderGroup(groups[g], request, progress);
  };
  const size_t threads =
      std::max<size_t>(1, std::min(static_cast<size_t>(std::max(request.jobs, 1)), groups.size()));
  std::vector<std::thread> helpers;
  for (size_t t = 1; t < threads; ++t) helpers.emplace_back(worker);
  worker();
  for (std::thread& t : helpers) t.join();
  progress.finish();
  report.wallSeconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return report;
}

}  // namespace veltrax::host
