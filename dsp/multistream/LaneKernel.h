// The multi-stream kernel: one independent effect instance per vector lane.
// Included once per instruction set by the LaneKernel*.cpp files, each of
// which defines LANE_KERNEL_ENTRY (the name it exports) and LANE_KERNEL_WIDTH
// (8: 512-bit vectors, 4: 256-bit) and is compiled with that instruction set
// (no FMA). Everything here has internal linkage, so the copies never mix.
//
// Every lane performs exactly the scalar operations of the plain per-sample
// loop, in the same order, with no term left out, so every value is the plain
// loop's to the bit. Only the schedule differs. The sections and their
// counts come from the chain's description (dsp/ChainShape.h). A block runs in
// chunks of samples, each chunk in three passes:
//
//   front    a software pipeline: at step s pre section k works on sample
//            s - k, drive and interpolation on s - (pre sections), the first
//            clamp, x800 and post section 0 on the sample after that
//   shaper   sample by sample: the other post sections, second clamp, table
//   back     a software pipeline: decimation, tone level and the first group
//            of three power/revise sections on sample s, group g on s - g,
//            volume, output level and the switch after the last group
//
// In a pipeline every stage reads what the stage before it produced in the
// previous step, so the stages of a step do not wait for each other; each
// stage owns its state alone, so this changes no value. The first and last
// steps of a pass are edge steps, in which stages without a sample leave
// their state alone.
#include <cstddef>
#include <cstdint>

#include "dsp/multistream/LaneState.h"

#pragma GCC diagnostic ignored "-Wpsabi"

namespace {

using veltrax::multistream::kMaxLanes;
using veltrax::multistream::kPostCount;
using veltrax::multistream::kPostFirst;
using veltrax::multistream::kPowerCount;
using veltrax::multistream::kPowerFirst;
using veltrax::multistream::kPreCount;
using veltrax::multistream::kPreFirst;
using veltrax::multistream::kReviseCount;
using veltrax::multistream::kReviseFirst;
namespace chain = veltrax::chain;
using veltrax::multistream::LaneBlock;
using veltrax::multistream::LaneState;

#define LANE_INLINE inline __attribute__((always_inline))

constexpr int W = LANE_KERNEL_WIDTH;
typedef double V __attribute__((vector_size(W * 8)));
typedef int I __attribute__((vector_size(W * 4)));

LANE_INLINE V splat(double x) {
  V v;
  for (int l = 0; l < W; ++l) v[l] = x;
  return v;
}
LANE_INLINE V load(const double* p) {
  V v;
  __builtin_memcpy(&v, p, sizeof v);
  return v;
}
LANE_INLINE void store(double* p, V v) { __builtin_memcpy(p, &v, sizeof v); }

// W path flags, widened to double (exactly: 1.0f becomes 1.0 and nothing else does).
LANE_INLINE V loadFlags(const float* p) {
  typedef float F __attribute__((vector_size(W * 4)));
  F f;
  __builtin_memcpy(&f, p, sizeof f);
  return __builtin_convertvector(f, V);
}

// Rows become columns: r[k][l] takes r[l][k] (data movement only). Each
// round swaps the off-diagonal h x h blocks of every 2h x 2h block.
LANE_INLINE void transposeRound(V& a, V& b, int h) {
  const V lo = a, hi = b;
#if LANE_KERNEL_WIDTH == 8
  if (h == 4) {
    a = __builtin_shufflevector(lo, hi, 0, 1, 2, 3, 8, 9, 10, 11);
    b = __builtin_shufflevector(lo, hi, 4, 5, 6, 7, 12, 13, 14, 15);
  } else if (h == 2) {
    a = __builtin_shufflevector(lo, hi, 0, 1, 8, 9, 4, 5, 12, 13);
    b = __builtin_shufflevector(lo, hi, 2, 3, 10, 11, 6, 7, 14, 15);
  } else {
    a = __builtin_shufflevector(lo, hi, 0, 8, 2, 10, 4, 12, 6, 14);
    b = __builtin_shufflevector(lo, hi, 1, 9, 3, 11, 5, 13, 7, 15);
  }
#else
  if (h == 2) {
    a = __builtin_shufflevector(lo, hi, 0, 1, 4, 5);
    b = __builtin_shufflevector(lo, hi, 2, 3, 6, 7);
  } else {
    a = __builtin_shufflevector(lo, hi, 0, 4, 2, 6);
    b = __builtin_shufflevector(lo, hi, 1, 5, 3, 7);
  }
#endif
}
LANE_INLINE void transpose(V* r) {
  for (int h = W / 2; h >= 1; h /= 2)
    for (int i = 0; i < W; ++i)
      if ((i & h) == 0) transposeRound(r[i], r[i + h], h);
}

// E[j] and E[j + 1] for every lane's j: one 16-byte load per lane, the
// pairs then sorted into the two vectors (data movement only; cheaper here
// than two gathers).
LANE_INLINE void tableNeighbours(const double* table, I j, V& lower, V& upper) {
  typedef double V2 __attribute__((vector_size(16)));
  int at[W];
  __builtin_memcpy(at, &j, sizeof at);
  V2 p[W];
  for (int l = 0; l < W; ++l) __builtin_memcpy(&p[l], table + at[l], sizeof(V2));
#if LANE_KERNEL_WIDTH == 8
  typedef double V4 __attribute__((vector_size(32)));
  const V4 p01 = __builtin_shufflevector(p[0], p[1], 0, 1, 2, 3);
  const V4 p23 = __builtin_shufflevector(p[2], p[3], 0, 1, 2, 3);
  const V4 p45 = __builtin_shufflevector(p[4], p[5], 0, 1, 2, 3);
  const V4 p67 = __builtin_shufflevector(p[6], p[7], 0, 1, 2, 3);
  const V first = __builtin_shufflevector(p01, p23, 0, 1, 2, 3, 4, 5, 6, 7);
  const V second = __builtin_shufflevector(p45, p67, 0, 1, 2, 3, 4, 5, 6, 7);
  lower = __builtin_shufflevector(first, second, 0, 2, 4, 6, 8, 10, 12, 14);
  upper = __builtin_shufflevector(first, second, 1, 3, 5, 7, 9, 11, 13, 15);
#else
  const V first = __builtin_shufflevector(p[0], p[1], 0, 1, 2, 3);
  const V second = __builtin_shufflevector(p[2], p[3], 0, 1, 2, 3);
  lower = __builtin_shufflevector(first, second, 0, 2, 4, 6);
  upper = __builtin_shufflevector(first, second, 1, 3, 5, 7);
#endif
}

// One biquad section in transposed direct form II:
//   y = b0 x + z1;  z1 = (b1 x + z2) + (-a1) y;  z2 = b2 x + (-a2) y
struct Section {
  V c[5];
  V z1, z2;

  void load(const LaneState& st, int s) {
    for (int i = 0; i < 5; ++i) c[i] = ::load(st.coef[s][i]);
    z1 = ::load(st.z1[s]);
    z2 = ::load(st.z2[s]);
  }
  void store(LaneState& st, int s) const {
    ::store(st.z1[s], z1);
    ::store(st.z2[s], z2);
  }
  LANE_INLINE V run(V x) { return runWith(c, x); }
  LANE_INLINE V runWith(const V* k, V x) {
    const V y = k[2] * x + z1;
    z1 = (k[3] * x + z2) + k[0] * y;
    z2 = k[4] * x + k[1] * y;
    return y;
  }
};

// The fifth-order oversampling low-pass on one state row:
//   y = f0 v + s0;  s_k = (f_(k+1) v + c_(k+1) y) + s_(k+1),  k = 0..4
struct OversamplingRow {
  V s[6];

  void load(const double (*row)[kMaxLanes]) {
    for (int i = 0; i < 6; ++i) s[i] = ::load(row[i]);
  }
  void store(double (*row)[kMaxLanes]) const {
    for (int i = 0; i < 5; ++i) ::store(row[i], s[i]);
  }
  LANE_INLINE V step(const V* f, const V* c, V v) {
    const V y = f[0] * v + s[0];
    for (int k = 0; k < 5; ++k) s[k] = (f[k + 1] * v + c[k] * y) + s[k + 1];
    return y;
  }
};

// The glide of power sections 2 and 3: c = ipDelta*t + ipStart with
// t = ipPos, and after the sample the glide advances (at t == ipLen the
// target set, the section's own coefficients, takes over).
struct Glide {
  V start[5], delta[5];
  V pos, len;

  void load(const LaneState& st, int g) {
    for (int i = 0; i < 5; ++i) {
      start[i] = ::load(st.ipStart[g][i]);
      delta[i] = ::load(st.ipDelta[g][i]);
    }
    pos = ::load(st.ipPos[g]);
    len = ::load(st.ipLen[g]);
  }
  void store(LaneState& st, int g) const {
    for (int i = 0; i < 5; ++i) {
      ::store(st.ipStart[g][i], start[i]);
      ::store(st.ipDelta[g][i], delta[i]);
    }
    ::store(st.ipPos[g], pos);
  }
  bool anywhere() const {
    for (int l = 0; l < W; ++l)
      if (pos[l] <= len[l]) return true;
    return false;
  }
  // The coefficient set of a stretch in which no lane glides: t stays put.
  void steadySet(V* c) const {
    for (int i = 0; i < 5; ++i) c[i] = delta[i] * pos + start[i];
  }
  LANE_INLINE V run(Section& section, V x) {
    V c[5];
    for (int i = 0; i < 5; ++i) c[i] = delta[i] * pos + start[i];
    const V y = section.runWith(c, x);
    const auto ends = pos == len;
    const auto before = pos < len;
    for (int i = 0; i < 5; ++i) {
      start[i] = ends ? section.c[i] : start[i];
      delta[i] = ends ? splat(0.0) : delta[i];
    }
    pos = (ends | before) ? pos + splat(1.0) : pos;
    return y;
  }
};

constexpr int kChunk = 128;  // samples per pass of each half; the buffer between them: 16 KiB
constexpr int kOversampling = chain::kOversampling;
constexpr int kDriveLag = kPreCount, kPost0Lag = kDriveLag + 1, kFrontSteps = kPost0Lag + 1;
constexpr int kCascadeSections = kPowerCount + kReviseCount;  // the power cascade, then revise
// The cascade runs in groups of three sections one sample apart: fewer values
// carried from step to step (registers) against a chain of three sections
// per step (latency).
constexpr int kGroup = 3, kGroups = (kCascadeSections + kGroup - 1) / kGroup;
constexpr int kOutputLag = kGroups, kBackSteps = kOutputLag + 1;

// Which glide a section of the combined power-and-revise cascade follows (-1: none).
constexpr int glideOf(int k) {
  for (int g = 0; g < chain::kGlidingCount; ++g)
    if (k == chain::kGlidingSections[g]) return g;
  return -1;
}

struct Kernel {
  const LaneBlock& b;
  Section pre[kPreCount], cascade[kCascadeSections], post[kPostCount];
  Glide glide[chain::kGlidingCount];
  OversamplingRow up, down;
  V f[6], c[5];
  V dVolume, dSustain, dTone, volumeStart, sustainStart, toneStart, outputLevel;
  V scale;
  V steady[2][5];        // the gliding pair's coefficients where no lane glides
  int from = 0, to = 0;  // the chunk the halves work on

  // What each stage produced in the last step.
  V preOut[kPreCount], upOut[kOversampling], groupOut[kGroups];
  alignas(64) V shaped[kChunk][kOversampling];  // front half -> shaper -> back half
  // The chunk's input, gains, paths (1.0: effect) and output, lane by lane.
  alignas(64) V in[kChunk], gains[kChunk], wet[kChunk], out[kChunk];

  Kernel(const LaneState& st, const LaneBlock& block) : b(block) {
    for (int i = 0; i < kPreCount; ++i) pre[i].load(st, kPreFirst + i);
    for (int i = 0; i < kCascadeSections; ++i) cascade[i].load(st, kPowerFirst + i);
    for (int i = 0; i < kPostCount; ++i) post[i].load(st, kPostFirst + i);
    for (int g = 0; g < chain::kGlidingCount; ++g) {
      glide[g].load(st, g);
      glide[g].steadySet(steady[g]);
    }
    up.load(st.osUp);
    down.load(st.osDown);
    for (int i = 0; i < 6; ++i) f[i] = splat(st.osFeedforward[i]);
    for (int i = 0; i < 5; ++i) c[i] = splat(st.osFeedback[i]);
    dVolume = load(b.dVolume);
    dSustain = load(b.dSustain);
    dTone = load(b.dTone);
    volumeStart = load(b.volumeStart);
    sustainStart = load(b.sustainStart);
    toneStart = load(b.toneStart);
    outputLevel = load(b.outputLevel);
    scale = splat(b.clipScale);
  }

  void store(LaneState& st) const {
    for (int i = 0; i < kPreCount; ++i) pre[i].store(st, kPreFirst + i);
    for (int i = 0; i < kCascadeSections; ++i) cascade[i].store(st, kPowerFirst + i);
    for (int g = 0; g < chain::kGlidingCount; ++g) glide[g].store(st, g);
    for (int i = 0; i < kPostCount; ++i) post[i].store(st, kPostFirst + i);
    up.store(st.osUp);
    down.store(st.osDown);
  }

  LANE_INLINE bool inRange(int j) const { return j >= from && j < to; }
  static LANE_INLINE V index(int j) { return splat(static_cast<double>(j)); }

  // The tanh curve by linear interpolation in the table, for h in -1 .. 1.
  LANE_INLINE V lookup(V h) const {
    const V pos = scale + h * scale;
    const I j = __builtin_convertvector(pos, I);
    V lower, upper;
    tableNeighbours(b.clipEntries, j, lower, upper);
    return (upper - lower) * (pos - __builtin_convertvector(j, V)) + lower;
  }

  // Front half, step s: pre cascade section k at sample s - k, drive and
  // interpolation at s - 4, first clamp and post section 0 at s - 5, post
  // section 1, second clamp and table at s - 6. Later stages first, so each
  // reads what its predecessor produced in the last step.
  template <bool Edge>
  LANE_INLINE void frontStep(int s) {
    // Clamp to -0.001 .. 0.00125 (NaN: -0.001), x800, post section 0.
    const int j0 = s - kPost0Lag;
    if (!Edge || inRange(j0)) {
      const V hi = splat(0.00125), lo = splat(-0.001);
#pragma GCC unroll 4
      for (int p = 0; p < kOversampling; ++p) {
        const V y = upOut[p];
        const V h = y > hi ? hi : (y > lo ? y : lo);
        shaped[j0 - from][p] = post[0].run(h * splat(800.0));
      }
    }

    // Drive and four-times interpolation by zero insertion.
    const int ji = s - kDriveLag;
    if (!Edge || inRange(ji)) {
      const V u = preOut[3] * (index(ji) * dSustain + sustainStart);
      upOut[0] = up.step(f, c, u);
      for (int p = 1; p < kOversampling; ++p) upOut[p] = up.step(f, c, splat(0.0));
    }

#pragma GCC unroll 4
    for (int k = kPreCount - 1; k >= 0; --k) {
      if (Edge && !inRange(s - k)) continue;
      preOut[k] = pre[k].run(k == 0 ? in[s - from] : preOut[k - 1]);
    }
  }

  // Cascade section k on x (the gliding pair by its glide).
  template <bool Gliding>
  LANE_INLINE V runSection(int k, V x) {
    const int g = glideOf(k);
    if (g >= 0) return Gliding ? glide[g].run(cascade[k], x) : cascade[k].runWith(steady[g], x);
    return cascade[k].run(x);
  }

  // Back half, step s: decimation, tone level and the first group of the
  // power and revise cascades at sample s, group g at s - g, volume, output
  // level and the switch at s - 4. Later stages first, as in the front half.
  template <bool Edge, bool Gliding>
  LANE_INLINE void backStep(int s) {
    const int o = s - kOutputLag;
    if (!Edge || inRange(o)) {
      const int at = o - from;
      const V wetOut =
          (((index(o) * dVolume + volumeStart) * groupOut[kGroups - 1]) * outputLevel) * gains[at];
      const V dryOut = gains[at] * in[at];
      out[at] = wet[at] == splat(1.0) ? wetOut : dryOut;
    }

#pragma GCC unroll 4
    for (int g = kGroups - 1; g >= 1; --g) {
      if (Edge && !inRange(s - g)) continue;
      V x = groupOut[g - 1];
#pragma GCC unroll 3
      for (int i = 0; i < kGroup; ++i)
        if (g * kGroup + i < kCascadeSections) x = runSection<Gliding>(g * kGroup + i, x);
      groupOut[g] = x;
    }

    // Decimation (pass 0's output kept), tone level, the first group.
    if (!Edge || inRange(s)) {
      const V* w = shaped[s - from];
      const V z0 = down.step(f, c, w[0]);
      for (int p = 1; p < kOversampling; ++p) down.step(f, c, w[p]);
      V x = z0 * (index(s) * dTone + toneStart);
#pragma GCC unroll 3
      for (int k = 0; k < kGroup && k < kCascadeSections; ++k) x = runSection<Gliding>(k, x);
      groupOut[0] = x;
    }
  }

  // Sample j of every lane into the chunk's vectors (each lane read in
  // order); a lane whose block ends earlier computes on zeros there. While
  // every lane has the whole chunk, W samples of W lanes at a time are loaded
  // row by row and transposed in registers.
  void gatherChunk() {
    int j = from;
    if (everyLaneCoversChunk()) {
      prefetchNextChunk();
      for (; j + W <= to; j += W) {
        V x[W], g[W], w[W];
        for (int l = 0; l < W; ++l) {
          x[l] = load(b.in[l] + j);
          g[l] = load(b.gains[l] + j);
          w[l] = loadFlags(b.pathFlags[l] + j);
        }
        transpose(x);
        transpose(g);
        transpose(w);
        for (int k = 0; k < W; ++k) {
          in[j - from + k] = x[k];
          gains[j - from + k] = g[k];
          wet[j - from + k] = w[k] == splat(1.0) ? splat(1.0) : splat(0.0);
        }
      }
    }
    gatherLaneByLane(j);
  }

  // Samples [first, to) of the chunk one value at a time.
  void gatherLaneByLane(int first) {
    double* x = reinterpret_cast<double*>(in);
    double* g = reinterpret_cast<double*>(gains);
    double* w = reinterpret_cast<double*>(wet);
    for (int l = 0; l < W; ++l) {
      const int end = b.length[l] < to ? b.length[l] : to;
      int j = first;
      for (; j < end; ++j) {
        const int at = (j - from) * W + l;
        x[at] = b.in[l][j];
        g[at] = b.gains[l][j];
        w[at] = b.pathFlags[l][j] == 1.0f ? 1.0 : 0.0;
      }
      for (; j < to; ++j) {
        const int at = (j - from) * W + l;
        x[at] = g[at] = w[at] = 0.0;
      }
    }
  }

  void scatterChunk() const {
    int j = from;
    if (everyLaneCoversChunk()) {
      for (; j + W <= to; j += W) {
        V y[W];
        for (int k = 0; k < W; ++k) y[k] = out[j - from + k];
        transpose(y);
        for (int l = 0; l < W; ++l) ::store(b.out[l] + j, y[l]);
      }
    }
    const double* y = reinterpret_cast<const double*>(out);
    for (int l = 0; l < W; ++l) {
      const int end = b.length[l] < to ? b.length[l] : to;
      for (int i = j; i < end; ++i) b.out[l][i] = y[(i - from) * W + l];
    }
  }

  // The next chunk's input and output, one cache line at a time, so that the
  // streams arrive while this chunk computes. Prefetches never fault, so
  // reaching past the block (into the next one, as a render lays them out)
  // is harmless; the addresses are formed as integers, not as pointers past
  // the end of the arrays.
  LANE_INLINE void prefetchNextChunk() const {
    constexpr int kLine = 64 / sizeof(double);
    for (int l = 0; l < W; ++l)
      for (int k = 0; k < kChunk; k += kLine) {
        __builtin_prefetch(sampleAddress(b.in[l], to + k), 0);
        __builtin_prefetch(sampleAddress(b.out[l], to + k), 1);
      }
  }
  static LANE_INLINE const void* sampleAddress(const double* stream, int j) {
    return reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(stream) +
                                         static_cast<uintptr_t>(j) * sizeof(double));
  }

  LANE_INLINE bool everyLaneCoversChunk() const {
    for (int l = 0; l < W; ++l)
      if (b.length[l] < to) return false;
    return true;
  }

  // The shaper's second half, sample by sample over the chunk, in place in
  // `shaped`: the post sections after the first, clamp to -1 .. 1 (NaN: -1),
  // tanh(16 h) from the table.
  void shapeChunk() {
    const V one = splat(1.0), minusOne = splat(-1.0);
    for (int j = 0; j < to - from; ++j) {
#pragma GCC unroll 4
      for (int p = 0; p < kOversampling; ++p) {
        V h = shaped[j][p];
        for (int k = 1; k < kPostCount; ++k) h = post[k].run(h);
        h = h > one ? one : (h > minusOne ? h : minusOne);
        shaped[j][p] = lookup(h);
      }
    }
  }

  template <bool Gliding>
  void runChunk() {
    gatherChunk();
    int s = from;
    const int frontSteady = from + kFrontSteps - 1 < to ? from + kFrontSteps - 1 : to;
    for (; s < frontSteady; ++s) frontStep<true>(s);
    for (; s < to; ++s) frontStep<false>(s);
    for (; s < to + kFrontSteps - 1; ++s) frontStep<true>(s);
    shapeChunk();

    s = from;
    const int backSteady = from + kBackSteps - 1 < to ? from + kBackSteps - 1 : to;
    for (; s < backSteady; ++s) backStep<true, Gliding>(s);
    for (; s < to; ++s) backStep<false, Gliding>(s);
    for (; s < to + kBackSteps - 1; ++s) backStep<true, Gliding>(s);
    scatterChunk();
  }

  void run() {
    const bool gliding = glide[0].anywhere() || glide[1].anywhere();
    for (from = b.from; from < b.to; from = to) {
      to = from + kChunk < b.to ? from + kChunk : b.to;
      if (gliding)
        runChunk<true>();
      else
        runChunk<false>();
    }
  }
};

}  // namespace

namespace veltrax::multistream {

void LANE_KERNEL_ENTRY(LaneState& state, const LaneBlock& block) {
  Kernel kernel(state, block);
  kernel.run();
  kernel.store(state);
}

}  // namespace veltrax::multistream
