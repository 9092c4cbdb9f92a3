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

// Rounds in flight per file: one being read, one processed, one written.
constexpr int kRounds = 3;

// A file while it renders: its reader, its safe output, and the interleaved
// frames of the rounds in flight. The reader stage alone touches `reader`,
// the writer stage alone `writer`; `failed` is set by either and read by all.
struct OpenFile {
  const PlannedFile* plan = nullptr;
  std::unique_ptr<SoundFileReader> reader;
  std::unique_ptr<SafeOutputFile> output;
  std::unique_ptr<SoundFileWriter> writer;
  std::vector<double> frames[kRounds];      // interleaved, one buffer per round
  size_t count[kRounds] = {};               // frames in each round's buffer
  std::vector<std::vector<double>> planar;  // one row per channel, for processing
  std::atomic<bool> failed{false};
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

size_t channelsOf(const std::vector<const PlannedFile*>& group) {
  size_t channels = 0;
  for (const PlannedFile* f : group) channels += static_cast<size_t>(f->channels);
  return channels;
}

// Renders one group: every channel of every file in a lane of its own. A
// three-stage pipeline over rounds of `chunk` frames per file: while round r
// is processed, round r + 1 is read and round r - 1 written, each on its own
// thread, so memory stays at three rounds however long the files are.
class GroupRender {
 public:
  GroupRender(const std::vector<const PlannedFile*>& group, const RenderSetRequest& request,
              SetProgress& progress)
      : settings_(request.settings),
        progress_(progress),
        block_(static_cast<size_t>(settings_.blockSize)),
        chunk_((kChunkTarget + block_ - 1) / block_ * block_),  // whole blocks per round
        inputGain_(gainOfDb(settings_.inputGainDb)),
        outputGain_(gainOfDb(settings_.outputGainDb)),
        kernel_(ms::kernelFor(channelsOf(group))) {
    for (const PlannedFile* plan : group) open(*plan);
    for (auto& f : files_)
      for (int c = 0; c < f->plan->channels; ++c) lanes_.push_back({f.get(), c});
    const ms::Knobs knobs{settings_.knobs.sustain, settings_.knobs.tone, settings_.knobs.volume,
                          settings_.knobs.on ? 1.0f : 0.0f};
    const float rate = group.empty() ? 48000.0f : static_cast<float>(group.front()->sampleRate);
    for (size_t first = 0; first < lanes_.size(); first += static_cast<size_t>(kernel_.lanes)) {
      batches_.push_back(std::make_unique<ms::StreamBatch>(rate, kernel_));
      for (int l = 0; l < kernel_.lanes && first + static_cast<size_t>(l) < lanes_.size(); ++l)
        batches_.back()->startStream(l, knobs);
    }
    if (settings_.preroll) preroll();
  }

  void run() {
    read(0);
    int r = 0;
    for (; anyFrames(r % kRounds); ++r) {
      std::thread writer;
      if (r > 0) writer = std::thread(&GroupRender::write, this, (r - 1) % kRounds);
      std::thread reader(&GroupRender::read, this, (r + 1) % kRounds);
      process(r % kRounds);
      reader.join();
      if (writer.joinable()) writer.join();
    }
    if (r > 0) write((r - 1) % kRounds);  // the last processed round
  }

  // Commits every file that did not fail (a failed one leaves its target as it was).
  void commit() {
    for (auto& f : files_) {
      if (f->failed) continue;
      try {
        f->writer->close();
        f->output->commit();
        progress_.rendered(*f->plan);
      } catch (const HostError& e) {
        progress_.failed(f->plan->input, e.what());
      }
    }
  }

 private:
  struct Lane {
    OpenFile* file;
    int channel;
  };

  void open(const PlannedFile& plan) {
    try {
      auto f = std::make_unique<OpenFile>();
      f->plan = &plan;
      f->reader = std::make_unique<SoundFileReader>(plan.input);
      f->output = std::make_unique<SafeOutputFile>(plan.output);
      f->writer = std::make_unique<SoundFileWriter>(f->output->fd(), plan.output, plan.format,
                                                    plan.channels, plan.sampleRate);
      for (auto& buffer : f->frames) buffer.resize(chunk_ * static_cast<size_t>(plan.channels));
      f->planar.assign(static_cast<size_t>(plan.channels), std::vector<double>(chunk_));
      files_.push_back(std::move(f));
    } catch (const HostError& e) {
      progress_.failed(plan.input, e.what());
    }
  }

  void fail(OpenFile& f, const char* reason) {
    if (!f.failed.exchange(true)) progress_.failed(f.plan->input, reason);
  }

  // One block of silence through every lane, its output dropped.
  void preroll() {
    const size_t lanes = static_cast<size_t>(kernel_.lanes);
    const std::vector<double> silence(block_, 0.0);
    std::vector<double> dropped(block_ * lanes);
    std::vector<const double*> in(lanes, silence.data());
    std::vector<double*> out(lanes);
    std::vector<int32_t> n(lanes, static_cast<int32_t>(block_));
    for (size_t l = 0; l < lanes; ++l) out[l] = dropped.data() + l * block_;
    for (auto& batch : batches_) batch->processBlock(in.data(), out.data(), n.data());
  }

  // Reader stage: round k of every file, input gain applied.
  void read(int k) {
    for (auto& f : files_) {
      f->count[k] = 0;
      if (f->failed || !f->reader) continue;
      try {
        f->count[k] = f->reader->read(f->frames[k].data(), chunk_);
      } catch (const HostError& e) {
        fail(*f, e.what());
        continue;
      }
      if (f->count[k] == 0) f->reader.reset();  // the end of this file
      if (inputGain_ != 1.0)
        for (size_t i = 0; i < f->count[k] * static_cast<size_t>(f->plan->channels); ++i)
          f->frames[k][i] *= inputGain_;
    }
  }

  bool anyFrames(int k) const {
    for (const auto& f : files_)
      if (f->count[k] > 0 && !f->failed) return true;
    return false;
  }

  // Worker stage: round k through the lanes, in place, output gain applied.
  void process(int k) {
    for (auto& f : files_) {
      const size_t channels = static_cast<size_t>(f->plan->channels);
      for (size_t i = 0; i < f->count[k]; ++i)
        for (size_t c = 0; c < channels; ++c) f->planar[c][i] = f->frames[k][i * channels + c];
    }
    const size_t lanes = static_cast<size_t>(kernel_.lanes);
    std::vector<const double*> in(lanes);
    std::vector<double*> out(lanes);
    std::vector<int32_t> n(lanes);
    for (size_t b = 0; b < batches_.size(); ++b) {
      const size_t first = b * lanes;
      for (size_t pos = 0; pos < chunk_; pos += block_) {
        bool work = false;
        for (size_t l = 0; l < lanes; ++l) {
          n[l] = 0;
          if (first + l >= lanes_.size()) continue;
          const Lane& lane = lanes_[first + l];
          const size_t count = lane.file->count[k];
          if (pos >= count) continue;
          double* samples = lane.file->planar[static_cast<size_t>(lane.channel)].data() + pos;
          n[l] = static_cast<int32_t>(std::min(block_, count - pos));
          in[l] = samples;
          out[l] = samples;
          work = true;
        }
        if (!work) break;
        batches_[b]->processBlock(in.data(), out.data(), n.data());
      }
    }
    for (auto& f : files_) {
      const size_t channels = static_cast<size_t>(f->plan->channels);
      for (size_t i = 0; i < f->count[k]; ++i)
        for (size_t c = 0; c < channels; ++c) f->frames[k][i * channels + c] = f->planar[c][i];
      if (outputGain_ != 1.0)
        for (size_t i = 0; i < f->count[k] * channels; ++i) f->frames[k][i] *= outputGain_;
    }
  }

  // Writer stage: processed round k into the files.
  void write(int k) {
    for (auto& f : files_) {
      if (f->count[k] == 0 || f->failed) continue;
      try {
        f->writer->write(f->frames[k].data(), f->count[k]);
      } catch (const HostError& e) {
        fail(*f, e.what());
      }
      progress_.advance(f->count[k]);
    }
  }

  const RenderSettings& settings_;
  SetProgress& progress_;
  const size_t block_, chunk_;
  const double inputGain_, outputGain_;
  const ms::KernelChoice kernel_;
  std::vector<std::unique_ptr<OpenFile>> files_;
  std::vector<Lane> lanes_;
  std::vector<std::unique_ptr<ms::StreamBatch>> batches_;
};

void renderGroup(const std::vector<const PlannedFile*>& group, const RenderSetRequest& request,
                 SetProgress& progress) {
  GroupRender render(group, request, progress);
  render.run();
  render.commit();
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
