// The multi-stream engine's view of up to eight independent effect instances:
// the running state of every filter of each instance's chain, one instance per
// vector lane ([...][lane]), and one block of every lane: its samples, the
// switch's gains and path choices, and its ramps. The
// engine fills it from each instance's fast-engine record before a block and
// copies it back afterwards, so the kernels (compiled once per instruction set)
// depend on nothing but this header.
#pragma once

#include <cstdint>

#include "dsp/ChainShape.h"

namespace veltrax::multistream {

constexpr int kMaxLanes = 8;

// The chain's sections in the order a sample meets them, counted from the
// chain's description: the pre cascade, the power cascade (whose tone
// sections glide), the revise cascade, then the post cascade, which runs
// inside the oversampled clipping section.
namespace chain = veltrax::chain;
constexpr int kPreCount = chain::kCascades[chain::kPre].sections;
constexpr int kPowerCount = chain::kCascades[chain::kPower].sections;
constexpr int kReviseCount = chain::kCascades[chain::kRevise].sections;
constexpr int kPostCount = chain::kCascades[chain::kPost].sections;
constexpr int kPreFirst = 0;
constexpr int kPowerFirst = kPreFirst + kPreCount;
constexpr int kReviseFirst = kPowerFirst + kPowerCount;
constexpr int kPostFirst = kReviseFirst + kReviseCount;
constexpr int kSections = kPostFirst + kPostCount;
constexpr int kFirstOf[chain::kCascadeCount] = {kPreFirst, kPostFirst, kPowerFirst, kReviseFirst};

struct LaneState {
  double coef[kSections][5][kMaxLanes];  // -a1, -a2, b0, b1, b2
  double z1[kSections][kMaxLanes], z2[kSections][kMaxLanes];
  // Glides of the gliding power sections: coefficients ipDelta*t + ipStart
  // at t = ipPos, advanced per sample until t reaches ipLen.
  double ipStart[chain::kGlidingCount][5][kMaxLanes], ipDelta[chain::kGlidingCount][5][kMaxLanes];
  double ipPos[chain::kGlidingCount][kMaxLanes], ipLen[chain::kGlidingCount][kMaxLanes];
  double osUp[6][kMaxLanes], osDown[6][kMaxLanes];  // oversampling filter rows s0..s5
  // All streams of a batch run at one rate, so they share one coefficient set.
  double osFeedback[5];     // c1 .. c5
  double osFeedforward[6];  // f0 .. f5
};

// Samples [from, to) of one block of every lane. Lane l's block has
// length[l] samples (0: an idle lane); lanes whose block ends before `to`
// compute on zeros past their end, and the engine copies their state out
// before and never reads it back.
struct LaneBlock {
  int32_t from, to;
  int32_t length[kMaxLanes];
  const double* in[kMaxLanes];
  double* out[kMaxLanes];             // may alias in[lane]
  const double* gains[kMaxLanes];     // the switch's cross-fade gains
  const float* pathFlags[kMaxLanes];  // 1.0: effect path, anything else: dry input
  double dVolume[kMaxLanes], dSustain[kMaxLanes], dTone[kMaxLanes];
  double volumeStart[kMaxLanes], sustainStart[kMaxLanes], toneStart[kMaxLanes];
  double outputLevel[kMaxLanes];
  const double* clipEntries;  // E[0 .. 2*clipScale + 1], the last one the table's limit
  double clipScale;
  // Whether postCascadeIsFirstOrder holds for every lane: the kernels may
  // then leave out the post sections' z2, as the fast engine does.
  bool postFirstOrder;
};

// Room for a lane kernel's working set (its chunk buffers, filter states and
// coefficients, about 100 KiB), kept with the batch rather than on the
// caller's stack. Its contents mean nothing between calls.
struct alignas(64) KernelScratch {
  unsigned char bytes[112 * 1024];
};

// Runs samples [from, to) of every lane exactly as the plain per-sample loop
// runs them for each instance.
using LaneKernel = void (*)(LaneState& state, const LaneBlock& block, KernelScratch& scratch);

#if defined(__x86_64__)
void runLanesAvx2(LaneState& state, const LaneBlock& block, KernelScratch& scratch);
void runLanesAvx512(LaneState& state, const LaneBlock& block, KernelScratch& scratch);
#endif

}  // namespace veltrax::multistream
