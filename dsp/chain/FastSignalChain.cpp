// The fast per-sample engine: copies the chain's running state into the
// kernel's plain record, runs the kernel the processor supports best (chosen
// once, at the first block; the plain loop on processors without AVX2), and
// copies the state back, so that the effect's filters and oversampling rows
// end every block exactly as the plain loop leaves them and the two engines
// can take turns between blocks.
#include <atomic>
#include <cstddef>
#include <initializer_list>

#include "dsp/FastChainState.h"
#include "effect/VELTRAX.h"

namespace {

namespace fast = veltrax::fast;

std::atomic<fast::Kernel> kernelOverride{nullptr};

// Below this many samples the fixed cost of a scheduled block (filling and
// draining the pipelines, about twenty steps, and copying the state) outweighs
// what it saves, and the plain loop is faster.
constexpr int32_t kSmallestFastBlock = 16;

fast::Kernel bestKernel() {
  fast::KernelChoice best;
  return fast::supportedKernels(&best, 1) > 0 ? best.run : nullptr;
}

// The sections of the three full-rate cascades in their bank lanes: bank A
// lanes 0..3 the pre cascade, 4..7 the power cascade; bank B the revise cascade.
struct BankLane {
  int cascade, stage;
};
constexpr BankLane kBankA[8] = {{VELTRAX::kPre, 0},   {VELTRAX::kPre, 1},   {VELTRAX::kPre, 2},
                                {VELTRAX::kPre, 3},   {VELTRAX::kPower, 0}, {VELTRAX::kPower, 1},
                                {VELTRAX::kPower, 2}, {VELTRAX::kPower, 3}};

void copyIn(const IIRFilter& f, fast::SectionBank& bank, int lane) {
  for (int i = 0; i < 5; ++i) bank.coef[i][lane] = f.coef[i];
  bank.z1[lane] = f.z1;
  bank.z2[lane] = f.z2;
}

void copyOut(const fast::SectionBank& bank, int lane, IIRFilter& f) {
  f.z1 = bank.z1[lane];
  f.z2 = bank.z2[lane];
}

void copyIn(const IIRFilter& f, fast::GlideState& g) {
  for (int i = 0; i < 5; ++i) {
    g.ipStart[i] = f.ipStart[i];
    g.ipDelta[i] = f.ipDelta[i];
  }
  g.ipPos = f.ipPos;
  g.ipLen = f.ipLen;
}

void copyOut(const fast::GlideState& g, IIRFilter& f) {
  for (int i = 0; i < 5; ++i) {
    f.ipStart[i] = g.ipStart[i];
    f.ipDelta[i] = g.ipDelta[i];
  }
  f.ipPos = g.ipPos;
}

void copyIn(const IIRFilter& f, fast::PostSection& s) {
  for (int i = 0; i < 5; ++i) s.coef[i] = f.coef[i];
  s.z1 = f.z1;
  s.z2 = f.z2;
}

}  // namespace

namespace veltrax::fast {

int supportedKernels(KernelChoice* choices, int capacity) {
  KernelChoice all[2];
  int count = 0;
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
      __builtin_cpu_supports("avx512dq"))
    all[count++] = {"avx512", runAvx512};
  if (__builtin_cpu_supports("avx2")) all[count++] = {"avx2", runAvx2};
#endif
  for (int i = 0; i < count && i < capacity; ++i) choices[i] = all[i];
  return count;
}

void overrideKernel(Kernel kernel) { kernelOverride.store(kernel, std::memory_order_relaxed); }

// z2 = b2 x - a2 y is a zero for finite x and y when b2 = a2 = 0. With
// |a1| <= 1 and coefficients and z1 below 1e6, |z1| grows at most linearly
// from the clamped input (|x| <= 1), far below the largest double for any
// block length, so x and y stay finite.
bool postCascadeIsFirstOrder(const ChainState& st) {
  constexpr double kModerate = 1e6;
  for (const PostSection& s : st.post) {
    if (!(s.coef[1] == 0.0 && s.coef[4] == 0.0 && s.z2 == 0.0)) return false;
    if (!(s.coef[0] >= -1.0 && s.coef[0] <= 1.0)) return false;
    for (double c : {s.coef[2], s.coef[3], s.z1})
      if (!(c >= -kModerate && c <= kModerate)) return false;
  }
  return true;
}

}  // namespace veltrax::fast

// The kernels know only the biquad recursion and the effect's cascade sizes;
// any other build of the chain runs the plain loop.
bool VELTRAX::fastChainApplies() const {
  static constexpr int32_t kSizes[4] = {4, 2, 4, 8};
  for (int c = 0; c < 4; ++c) {
    if (stageFilterCount[c] != kSizes[c]) return false;
    for (int32_t i = 0; i < kSizes[c]; ++i)
      if (!stageFilters[c][i]->biquad) return false;
  }
  return true;
}

void VELTRAX::runSignalChainFast(const double* in, double* out, int32_t n, const ControlRamps& ramps) {
  static const fast::Kernel best = bestKernel();
  const fast::Kernel forced = kernelOverride.load(std::memory_order_relaxed);
  const fast::Kernel kernel = forced ? forced : best;
  if (!kernel || n < kSmallestFastBlock || !fastChainApplies()) {
    runSignalChain(in, out, n, ramps);
    return;
  }

  fast::ChainState st;
  IIRFilter* const* power = stageFilters[kPower];
  IIRFilter* const* post = stageFilters[kPost];
  IIRFilter* const* revise = stageFilters[kRevise];
  for (int lane = 0; lane < 8; ++lane) {
    copyIn(*stageFilters[kBankA[lane].cascade][kBankA[lane].stage], st.a, lane);
    copyIn(*revise[lane], st.b, lane);
  }
  copyIn(*power[2], st.glide[0]);
  copyIn(*power[3], st.glide[1]);
  copyIn(*post[0], st.post[0]);
  copyIn(*post[1], st.post[1]);
  if (!fast::postCascadeIsFirstOrder(st)) {
    runSignalChain(in, out, n, ramps);
    return;
  }
  for (int i = 0; i < 6; ++i) {
    st.osUp[i] = osUpState[i];
    st.osDown[i] = osDownState[i];
    st.osFeedforward[i] = osFeedforward[i];
    if (i < 5) st.osFeedback[i] = osFeedback[i];
  }

  fast::Block block;
  block.in = in;
  block.out = out;
  block.n = n;
  block.gains = blockBuffer;
  block.pathFlags = switchRecord->pathFlags;
  block.dVolume = ramps.dVolume;
  block.dSustain = ramps.dSustain;
  block.dTone = ramps.dTone;
  block.volumeStart = ramps.volumeStart;
  block.sustainStart = ramps.sustainStart;
  block.toneStart = ramps.toneStart;
  block.outputLevel = outputLevel;
  // The table and its limit, read as one run of entries E[0 .. 2*clipScale + 1].
  static_assert(offsetof(Clipper, clipLimit) == offsetof(Clipper, clipTable) + sizeof(clip.clipTable),
                "the limit follows the table");
  block.clipEntries = reinterpret_cast<const double*>(reinterpret_cast<const char*>(&clip) +
                                                      offsetof(Clipper, clipTable));
  block.clipScale = clip.clipScale;

  kernel(st, block);

  for (int lane = 0; lane < 8; ++lane) {
    copyOut(st.a, lane, *stageFilters[kBankA[lane].cascade][kBankA[lane].stage]);
    copyOut(st.b, lane, *revise[lane]);
  }
  copyOut(st.glide[0], *power[2]);
  copyOut(st.glide[1], *power[3]);
  for (int i = 0; i < 2; ++i) {
    post[i]->z1 = st.post[i].z1;
    post[i]->z2 = st.post[i].z2;
  }
  for (int i = 0; i < 5; ++i) {
    osUpState[i] = st.osUp[i];
    osDownState[i] = st.osDown[i];
  }
}
