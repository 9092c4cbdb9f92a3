// The multi-stream engine: per block, each lane's instance prepares its block
// (knob changes, glides, ramps, the switch's gains), its running state is
// moved into its lane, the kernel runs every lane at once, and the state goes
// back. Lanes whose block is shorter leave the kernel when their samples end:
// the kernel runs [0, shortest), their state is taken back, then it goes on
// with the others.
#include "dsp/multistream/StreamBatch.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <thread>

#include "dsp/CpuFeatures.h"
#include "dsp/FastChainState.h"
#include "dsp/FlushToZero.h"
#include "effect/VELTRAX.h"

namespace veltrax::multistream {

namespace {

// The lane-state index of the section in a lane of the fast record's banks.
constexpr int sectionOf(chain::LaneSlot slot) { return kFirstOf[slot.cascade] + slot.section; }

void toLane(const fast::SectionBank& bank, int bankLane, LaneState& st, int section, int lane) {
  for (int i = 0; i < 5; ++i) st.coef[section][i][lane] = bank.coef[i][bankLane];
  st.z1[section][lane] = bank.z1[bankLane];
  st.z2[section][lane] = bank.z2[bankLane];
}

void fromLane(const LaneState& st, int section, int lane, fast::SectionBank& bank, int bankLane) {
  bank.z1[bankLane] = st.z1[section][lane];
  bank.z2[bankLane] = st.z2[section][lane];
}

}  // namespace

int supportedKernels(KernelChoice* choices, int capacity) {
  KernelChoice all[4];
  int count = 0;
#if defined(__x86_64__)
  if (cpuHasAvx512()) all[count++] = {"avx512", runLanesAvx512, 8, Engine::plain};
  if (cpuHasAvx2()) all[count++] = {"avx2", runLanesAvx2, 4, Engine::plain};
#endif
  all[count++] = {"fast", nullptr, 1, Engine::fast};
  all[count++] = {"plain", nullptr, 1, Engine::plain};
  const int filled = count < capacity ? count : capacity;
  for (int i = 0; i < filled; ++i) choices[i] = all[i];
  return filled;
}

KernelChoice bestKernel() {
  KernelChoice best;
  supportedKernels(&best, 1);
  return best;
}

KernelChoice kernelFor(size_t streams) {
  KernelChoice all[4];
  const int count = supportedKernels(all, 4);
  for (int i = 0; i < count; ++i)
    if (!all[i].run || 2 * streams > static_cast<size_t>(all[i].lanes)) return all[i];
  return all[count - 1];
}

StreamBatch::StreamBatch(float sampleRate, KernelChoice kernel)
    : sampleRate_(sampleRate),
      kernel_(kernel),
      lanes_(kernel.lanes),
      state_(new LaneState()),
      scratch_(kernel.run ? new KernelScratch : nullptr) {
  effects_.resize(static_cast<size_t>(lanes_));  // each made when its lane is first used
}

StreamBatch::~StreamBatch() = default;

void StreamBatch::startStream(int lane, const Knobs& knobs) {
  std::unique_ptr<VELTRAX> fx(new VELTRAX(nullptr));
  fx->selectEngine(kernel_.engine);
  fx->setParameter(VELTRAX::kOnOff, knobs.onOff);
  fx->setParameter(VELTRAX::kVolume, knobs.volume);
  fx->setParameter(VELTRAX::kTone, knobs.tone);
  fx->setParameter(VELTRAX::kSustain, knobs.sustain);
  fx->setSampleRate(sampleRate_);
  effects_[static_cast<size_t>(lane)] = std::move(fx);
}

VELTRAX& StreamBatch::effect(int lane) {
  if (!effects_[static_cast<size_t>(lane)]) startStream(lane, Knobs{});
  return *effects_[static_cast<size_t>(lane)];
}

void StreamBatch::processBlock(const double* const* in, double* const* out, const int32_t* n) {
  if (!kernel_.run) {
    for (int lane = 0; lane < lanes_; ++lane) {
      if (n[lane] <= 0) continue;
      double* laneIn = const_cast<double*>(in[lane]);
      double* laneOut = out[lane];
      effect(lane).processDoubleReplacing(&laneIn, &laneOut, n[lane]);
    }
    return;
  }
  runLanes(in, out, n);
}

void StreamBatch::loadLane(int lane, const fast::ChainState& record) {
  LaneState& st = *state_;
  for (int k = 0; k < chain::kLanes; ++k) {
    toLane(record.a, k, st, sectionOf(chain::kBankA[k]), lane);
    toLane(record.b, k, st, sectionOf(chain::kBankB[k]), lane);
  }
  for (int g = 0; g < chain::kGlidingCount; ++g) {
    for (int i = 0; i < 5; ++i) {
      st.ipStart[g][i][lane] = record.glide[g].ipStart[i];
      st.ipDelta[g][i][lane] = record.glide[g].ipDelta[i];
    }
    st.ipPos[g][lane] = record.glide[g].ipPos;
    st.ipLen[g][lane] = record.glide[g].ipLen;
  }
  for (int p = 0; p < kPostCount; ++p) {
    for (int i = 0; i < 5; ++i) st.coef[kPostFirst + p][i][lane] = record.post[p].coef[i];
    st.z1[kPostFirst + p][lane] = record.post[p].z1;
    st.z2[kPostFirst + p][lane] = record.post[p].z2;
  }
  for (int i = 0; i < 6; ++i) {
    st.osUp[i][lane] = record.osUp[i];
    st.osDown[i][lane] = record.osDown[i];
  }
  // One rate for the whole batch, so every lane brings the same set.
  std::memcpy(st.osFeedback, record.osFeedback, sizeof st.osFeedback);
  std::memcpy(st.osFeedforward, record.osFeedforward, sizeof st.osFeedforward);
}

void StreamBatch::saveLane(int lane, fast::ChainState& record) const {
  const LaneState& st = *state_;
  for (int k = 0; k < chain::kLanes; ++k) {
    fromLane(st, sectionOf(chain::kBankA[k]), lane, record.a, k);
    fromLane(st, sectionOf(chain::kBankB[k]), lane, record.b, k);
  }
  for (int g = 0; g < chain::kGlidingCount; ++g) {
    for (int i = 0; i < 5; ++i) {
      record.glide[g].ipStart[i] = st.ipStart[g][i][lane];
      record.glide[g].ipDelta[i] = st.ipDelta[g][i][lane];
    }
    record.glide[g].ipPos = st.ipPos[g][lane];
  }
  for (int p = 0; p < kPostCount; ++p) {
    record.post[p].z1 = st.z1[kPostFirst + p][lane];
    record.post[p].z2 = st.z2[kPostFirst + p][lane];
  }
  for (int i = 0; i < 6; ++i) {
    record.osUp[i] = st.osUp[i][lane];
    record.osDown[i] = st.osDown[i][lane];
  }
}

void StreamBatch::runLanes(const double* const* in, double* const* out, const int32_t* n) {
  FlushToZeroScope flushToZero;  // as every block of the instances runs
  fast::ChainState chains[kMaxLanes];
  ControlRamps ramps[kMaxLanes];
  LaneBlock block = {};
  block.postFirstOrder = true;
  for (int lane = 0; lane < lanes_; ++lane) {
    const int32_t len = n[lane];
    if (len <= 0) continue;
    VELTRAX& fx = effect(lane);
    if (!fx.beginBlock(len, ramps[lane])) {  // no rate yet or no memory: pass through
      if (in[lane] != out[lane])
        std::memmove(out[lane], in[lane], sizeof(double) * static_cast<size_t>(len));
      continue;
    }
    if (!fx.captureChain(chains[lane])) {  // a chain of another shape: its own plain loop
      fx.runChain(in[lane], out[lane], len, ramps[lane]);
      fx.endBlock(len);
      continue;
    }
    fast::Block described;
    fx.describeBlock(ramps[lane], described);
    block.length[lane] = len;
    block.in[lane] = in[lane];
    block.out[lane] = out[lane];
    block.gains[lane] = described.gains;
    block.pathFlags[lane] = described.pathFlags;
    block.dVolume[lane] = ramps[lane].dVolume;  // the same ramps describeBlock copies
    block.dSustain[lane] = ramps[lane].dSustain;
    block.dTone[lane] = ramps[lane].dTone;
    block.volumeStart[lane] = ramps[lane].volumeStart;
    block.sustainStart[lane] = ramps[lane].sustainStart;
    block.toneStart[lane] = ramps[lane].toneStart;
    block.outputLevel[lane] = described.outputLevel;
    block.clipEntries = described.clipEntries;
    block.clipScale = described.clipScale;
    block.postFirstOrder = block.postFirstOrder && fast::postCascadeIsFirstOrder(chains[lane]);
    loadLane(lane, chains[lane]);
  }

  // Run up to each distinct block end; lanes ending there leave the kernel.
  for (block.from = 0;; block.from = block.to) {
    block.to = 0;
    for (int lane = 0; lane < lanes_; ++lane)
      if (block.length[lane] > block.from && (block.to == 0 || block.length[lane] < block.to))
        block.to = block.length[lane];
    if (block.to == 0) break;
    kernel_.run(*state_, block, *scratch_);
    for (int lane = 0; lane < lanes_; ++lane) {
      if (block.length[lane] != block.to) continue;
      VELTRAX& fx = *effects_[static_cast<size_t>(lane)];
      saveLane(lane, chains[lane]);
      fx.restoreChain(chains[lane]);
      fx.endBlock(block.to);
    }
  }
}

namespace {

// One lane of a render: the stream it works on and how far it got.
struct LaneProgress {
  StreamJob* job = nullptr;
  size_t done = 0;
  bool prerolling = false;
};

// Runs streams through one batch until none is left.
void renderOnOneBatch(StreamJob* jobs, size_t count, std::atomic<size_t>& next, float sampleRate,
                      int32_t blockSize, KernelChoice kernel) {
  StreamBatch batch(sampleRate, kernel);
  const size_t lanes = static_cast<size_t>(batch.lanes());
  std::vector<LaneProgress> progress(lanes);
  std::vector<const double*> in(lanes);
  std::vector<double*> out(lanes);
  std::vector<int32_t> n(lanes);
  const std::vector<double> silence(static_cast<size_t>(blockSize), 0.0);
  std::vector<double> dropped(static_cast<size_t>(blockSize) * lanes);
  for (;;) {
    bool any = false;
    for (size_t l = 0; l < lanes; ++l) {
      LaneProgress& p = progress[l];
      while (!p.job) {  // a free lane takes the next stream (empty ones end at once)
        const size_t index = next.fetch_add(1);
        if (index >= count) break;
        if (jobs[index].frames == 0) continue;
        p = {&jobs[index], 0, jobs[index].preroll};
        batch.startStream(static_cast<int>(l), jobs[index].knobs);
      }
      n[l] = 0;
      if (!p.job) continue;
      any = true;
      if (p.prerolling) {
        n[l] = blockSize;
        in[l] = silence.data();
        out[l] = dropped.data() + l * static_cast<size_t>(blockSize);
        continue;
      }
      n[l] = static_cast<int32_t>(
          std::min<size_t>(p.job->frames - p.done, static_cast<size_t>(blockSize)));
      in[l] = p.job->in + p.done;
      out[l] = p.job->out + p.done;
    }
    if (!any) return;
    batch.processBlock(in.data(), out.data(), n.data());
    for (LaneProgress& p : progress) {
      if (!p.job) continue;
      if (p.prerolling) {
        p.prerolling = false;
        continue;
      }
      p.done += static_cast<size_t>(n[&p - progress.data()]);
      if (p.done == p.job->frames) p.job = nullptr;
    }
  }
}

}  // namespace

void renderStreams(StreamJob* jobs, size_t count, float sampleRate, int32_t blockSize, int threads,
                   KernelChoice kernel) {
  if (count == 0 || blockSize <= 0) return;
  std::atomic<size_t> next{0};
  // No more threads than batches: a half-empty batch of a lane kernel costs
  // as much as a full one.
  const size_t lanes = static_cast<size_t>(kernel.lanes);
  const size_t batches = (count + lanes - 1) / lanes;
  const size_t pool =
      std::max<size_t>(1, std::min(static_cast<size_t>(std::max(threads, 1)), batches));
  std::vector<std::thread> helpers;
  for (size_t t = 1; t < pool; ++t)
    helpers.emplace_back(renderOnOneBatch, jobs, count, std::ref(next), sampleRate, blockSize,
                         kernel);
  renderOnOneBatch(jobs, count, next, sampleRate, blockSize, kernel);
  for (std::thread& t : helpers) t.join();
}

void renderStreams(StreamJob* jobs, size_t count, float sampleRate, int32_t blockSize,
                   int threads) {
  renderStreams(jobs, count, sampleRate, blockSize, threads, kernelFor(count));
}

}  // namespace veltrax::multistream
