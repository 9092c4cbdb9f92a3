// The fast per-sample engine: copies the chain's running state into the
// kernel's plain record, runs the kernel the processor supports best (chosen
// once, at the first block; the plain loop on processors without AVX2), and
// copies the state back, so that the effect's filters and oversampling rows
// end every block exactly as the plain loop leaves them and the two engines
// can take turns between blocks.
#include <algorithm>
#include <atomic>

#include "dsp/ChainShape.h"
#include "dsp/FastChainState.h"
#include "effect/VELTRAX.h"

namespace {

namespace fast = veltrax::fast;
namespace chain = veltrax::chain;

std::atomic<fast::Kernel> kernelOverride{nullptr};

// Below this many samples the fixed cost of a scheduled block (filling and
// draining the pipelines, about twenty steps, and copying the state) outweighs
// what it saves, and the plain loop is faster.
constexpr int32_t kSmallestFastBlock = 16;

fast::Kernel bestKernel() {
  fast::KernelChoice best;
  return fast::supportedKernels(&best, 1) > 0 ? best.run : nullptr;
}

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

void overrideKernel(Kernel kernel) { kernelOverride.store(kernel, std::memory_order_relaxed); }

}  // namespace veltrax::fast

// The kernels know only the biquad recursion and the chain's lane layout;
// any other build of the chain runs the plain loop.
bool VELTRAX::fastChainApplies() const {
  if (!chain::kFastLayoutFits) return false;
  for (int c = 0; c < chain::kCascadeCount; ++c) {
    if (stageFilterCount[c] != chain::kCascades[c].sections) return false;
    for (int32_t i = 0; i < stageFilterCount[c]; ++i)
      if (!stageFilters[c][i]->biquad) return false;
  }
  return true;
}

void VELTRAX::runSignalChainFast(const double* in, double* out, int32_t n,
                                 const ControlRamps& ramps) {
  static const fast::Kernel best = bestKernel();
  const fast::Kernel forced = kernelOverride.load(std::memory_order_relaxed);
  const fast::Kernel kernel = forced ? forced : best;
  fast::ChainState st;
  if (!kernel || n < kSmallestFastBlock || !chain::kFastLayoutFits || !captureChain(st) ||
      !fast::postCascadeIsFirstOrder(st)) {
    runSignalChain(in, out, n, ramps);
    return;
  }
  fast::Block block;
  describeBlock(ramps, block);
  block.in = in;
  block.out = out;
  block.n = n;
  kernel(st, block);
  restoreChain(st);
}

// The effect's section in a lane of the fast engine's banks.
IIRFilter& VELTRAX::sectionIn(chain::LaneSlot slot) const {
  return *stageFilters[slot.cascade][slot.section];
}

bool VELTRAX::captureChain(fast::ChainState& st) const {
  if (!fastChainApplies()) return false;
  for (int lane = 0; lane < chain::kLanes; ++lane) {
    copyIn(sectionIn(chain::kBankA[lane]), st.a, lane);
    copyIn(sectionIn(chain::kBankB[lane]), st.b, lane);
  }
  for (int g = 0; g < chain::kGlidingCount; ++g)
    copyIn(*stageFilters[kPower][chain::kGlidingSections[g]], st.glide[g]);
  for (int i = 0; i < stageFilterCount[kPost]; ++i) copyIn(*stageFilters[kPost][i], st.post[i]);
  std::copy(osUpState, osUpState + 6, st.osUp);
  std::copy(osDownState, osDownState + 6, st.osDown);
  std::copy(osFeedforward, osFeedforward + 6, st.osFeedforward);
  std::copy(osFeedback, osFeedback + 5, st.osFeedback);
  return true;
}

void VELTRAX::describeBlock(const ControlRamps& ramps, fast::Block& block) const {
  block.gains = blockBuffer;
  block.pathFlags = switchRecord->pathFlags;
  block.ramps = ramps;
  block.outputLevel = outputLevel;
  block.clipEntries = clip.entries();
  block.clipScale = clip.clipScale;
}

void VELTRAX::restoreChain(const fast::ChainState& st) {
  for (int lane = 0; lane < chain::kLanes; ++lane) {
    copyOut(st.a, lane, sectionIn(chain::kBankA[lane]));
    copyOut(st.b, lane, sectionIn(chain::kBankB[lane]));
  }
  for (int g = 0; g < chain::kGlidingCount; ++g)
    copyOut(st.glide[g], *stageFilters[kPower][chain::kGlidingSections[g]]);
  for (int i = 0; i < stageFilterCount[kPost]; ++i) {
    stageFilters[kPost][i]->z1 = st.post[i].z1;
    stageFilters[kPost][i]->z2 = st.post[i].z2;
  }
  std::copy(st.osUp, st.osUp + 5, osUpState);
  std::copy(st.osDown, st.osDown + 5, osDownState);
}
