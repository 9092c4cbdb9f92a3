// The multi-stream engine: independent mono streams at one sample rate, one
// effect instance each, processed side by side in vector lanes (eight with
// AVX-512, four with AVX2). Each instance keeps its own knobs, ramps, tone
// glides and On/Off fades; only the per-sample loop runs in the lanes, and
// every output value is the one the instance's plain loop gives for the same
// blocks. Without a lane kernel (other processors, 32-bit builds) each stream
// runs the plain loop on its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "dsp/multistream/LaneState.h"
#include "effect/InternalControl.h"

class VELTRAX;
namespace veltrax::fast {
struct ChainState;
}

namespace veltrax::multistream {

struct KernelChoice {
  const char* name;  // lane kernels "avx512", "avx2"; one instance per stream "fast", "plain"
  LaneKernel run;    // nullptr: each stream on its own instance, running `engine`
  int lanes;         // streams per batch (1 without a lane kernel)
  Engine engine;     // what the instances run themselves: every block without a lane
                     // kernel; with one, only where the lanes do not apply (plain)
};

// The lane kernels this processor can run, widest first, then each stream on
// its own instance with the fast engine, then with the plain loop (the
// reference). Fills at most `capacity` entries and returns how many it filled.
int supportedKernels(KernelChoice* choices, int capacity);
KernelChoice bestKernel();

// The choice for `streams` streams: the widest lane kernel they fill more
// than half of (a lane kernel costs the same however few of its lanes work,
// and a half-empty one costs more than the streams' own fast instances), else
// each stream on its own instance with the fast engine.
KernelChoice kernelFor(size_t streams);

// The pedal's knobs for one stream, 0..1 (On/Off: 1 effect, 0 dry).
struct Knobs {
  float sustain = 0.5f, tone = 0.5f, volume = 0.5f, onOff = 1.0f;
};

// Up to kernel.lanes streams. One thread at a time.
class StreamBatch {
 public:
  StreamBatch(float sampleRate, KernelChoice kernel = bestKernel());
  ~StreamBatch();
  StreamBatch(const StreamBatch&) = delete;
  StreamBatch& operator=(const StreamBatch&) = delete;

  int lanes() const { return lanes_; }
  const char* kernelName() const { return kernel_.name; }

  // A new stream in `lane`: a fresh instance at the batch's rate with these knobs.
  void startStream(int lane, const Knobs& knobs);
  // The lane's instance, for knob changes between blocks (setParameter,
  // programs): they take effect at its next block, as a host's do. A lane
  // that has had no stream gets one with the default knobs here.
  VELTRAX& effect(int lane);

  // One block per lane: lane l turns n[l] samples of in[l] into out[l]
  // (n[l] == 0: the lane sits this block out). in[l] and out[l] may alias.
  void processBlock(const double* const* in, double* const* out, const int32_t* n);

 private:
  void runLanes(const double* const* in, double* const* out, const int32_t* n);
  void loadLane(int lane, const fast::ChainState& chain);
  void saveLane(int lane, fast::ChainState& chain) const;

  float sampleRate_;
  KernelChoice kernel_;
  int lanes_;
  std::vector<std::unique_ptr<VELTRAX>> effects_;
  std::unique_ptr<LaneState> state_;
  std::unique_ptr<KernelScratch> scratch_;  // with a lane kernel
};

// One stream of a whole-signal render: `frames` samples of `in` into `out`
// (may alias), with steady knobs; with `preroll` the instance first runs one
// block of silence whose output is dropped (the On/Off switch and the ramps
// settle before the first sample).
struct StreamJob {
  const double* in;
  double* out;
  size_t frames;
  Knobs knobs;
  bool preroll = false;
};

// Renders every job in blocks of `blockSize` samples, streams taking free
// lanes as earlier ones end, on up to `threads` threads (each with its own
// batch), with `kernel` or the one kernelFor(count) picks. Every output
// equals what one instance gives for the same blocks.
void renderStreams(StreamJob* jobs, size_t count, float sampleRate, int32_t blockSize, int threads,
                   KernelChoice kernel);
void renderStreams(StreamJob* jobs, size_t count, float sampleRate, int32_t blockSize, int threads);

}  // namespace veltrax::multistream
