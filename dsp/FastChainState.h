// The fast engine's view of one block: the running state of every filter of
// the chain as plain numbers, and the block's inputs and ramps. The effect
// copies its state in before a block and back afterwards, so the kernels
// (compiled once per instruction set) depend on nothing but this header.
#pragma once

#include <cstdint>

#include "dsp/ChainShape.h"
#include "dsp/ControlRamps.h"

namespace veltrax::fast {

// Eight filter sections side by side, one per lane, laid out as
// veltrax::chain::kBankA and kBankB say: bank A holds the pre cascade
// (lanes 0..3) and the power cascade (lanes 4..7), bank B the revise cascade.
struct SectionBank {
  double coef[5][chain::kLanes];  // coefficient i (-a1, -a2, b0, b1, b2) of lane k
  double z1[chain::kLanes], z2[chain::kLanes];
};

// Glide state of the tone sections (bank A lanes chain::kGlidingLanes).
struct GlideState {
  double ipStart[5], ipDelta[5];
  double ipPos, ipLen;
};

// A section of the post cascade, which runs at four times the rate.
struct PostSection {
  double coef[5];
  double z1, z2;
};

struct ChainState {
  SectionBank a, b;
  GlideState glide[chain::kGlidingCount];
  PostSection post[chain::kCascades[chain::kPost].sections];
  double osFeedback[5];     // c1 .. c5
  double osFeedforward[6];  // f0 .. f5
  double osUp[6];           // interpolation filter state row
  double osDown[6];         // decimation filter state row
};

// What the On/Off switch does over a whole block. With the switch steady every
// gain is exactly 1.0: the effect path's product ((volume * t) * level) * 1.0
// is that product unchanged (it is never a denormal under flush-to-zero, nor a
// signalling NaN), so the kernel leaves the factor out; the dry path keeps its
// product, which flushes denormal inputs and quiets signalling NaNs.
enum class SwitchPath : int32_t {
  mixed,  // per sample: gains[j] and pathFlags[j]
  wet,    // every flag 1.0, every gain 1.0: out = effect path
  dry,    // every flag another value: out = gains[j] * in[j], written after the chain has run
};

struct Block {
  const double* in;
  double* out;  // may alias `in`
  int32_t n;
  const double* gains;     // per-sample cross-fade gains
  const float* pathFlags;  // 1.0: effect path, anything else: dry input
  ControlRamps ramps;
  double outputLevel;
  const double* clipEntries;  // E[0 .. 2*clipScale + 1], the last one the table's limit
  double clipScale;
};

// Runs one block of n >= 1 samples and leaves `state` exactly as the plain
// per-sample loop would (up to the sign of zeros that only ever meet zeros).
using Kernel = void (*)(ChainState& state, const Block& block);

#if defined(__x86_64__) || defined(__i386__)
void runAvx2(ChainState& state, const Block& block);
void runAvx512(ChainState& state, const Block& block);
#endif

struct KernelChoice {
  const char* name;  // "avx512", "avx2"
  Kernel run;
};

// The kernels this processor can run, best first; the effect uses the first,
// and the plain per-sample loop where there is none. Fills at most `capacity`
// entries and returns how many there are.
int supportedKernels(KernelChoice* choices, int capacity);

// True if the kernels may leave out z2 of the two post sections in a block
// from this state: both first order with a pole inside or on the unit circle,
// moderate coefficients and state, so nothing can overflow in any block and z2
// stays a zero. Otherwise the block runs the plain loop.
bool postCascadeIsFirstOrder(const ChainState& state);

// For tests and benchmarks: every instance's fast engine runs `kernel` from
// its next block on (nullptr: the best one again). Call it with audio stopped.
void overrideKernel(Kernel kernel);

}  // namespace veltrax::fast
