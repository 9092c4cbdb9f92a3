// The multi-stream kernel: one independent effect instance per vector lane.
// Included once per instruction set by the LaneKernel*.cpp files, each of
// which defines LANE_KERNEL_ENTRY (the name it exports) and LANE_KERNEL_WIDTH
// (8: 512-bit vectors, 4: 256-bit) and is compiled with that instruction set
// (no FMA). Everything here has internal linkage, so the copies never mix.
//
// Every lane performs exactly the scalar operations of the plain per-sample
// loop, in the same order. Only the schedule differs, and two terms are left
// out as the fast engine leaves them out (dsp/FastChainKernel.h): the f*0
// products of the interpolation's three zero-input sub-samples, and z2 of the
// two post sections, which are first order (where postCascadeIsFirstOrder
// holds for every lane; otherwise the block runs them in full). Either can
// change the sign of a zero inside the clipping section and nothing else, and
// its table maps +0 and -0 to the same entry, so every output is the plain
// loop's to the bit. The sections and their counts come from the chain's description
// (dsp/ChainShape.h). A block runs in chunks (kChunk samples), each chunk in
// four passes, each small enough for its filter states to stay in the vector
// registers:
//
//   interpolate  pre cascade, drive, four-times interpolation     in  -> sub
//   shape        clamp, x800, post cascade, clamp, tanh table       sub -> sub
//   decimate     decimation, tone level, power cascade            sub -> mid
//   output       revise cascade, volume, output level, switch     mid -> out
//
// Each pass is a software pipeline (runSkewed): a section works one sample
// behind the one before it, so the operations of a step do not wait for each
// other. Coefficients are read from memory where they are used.
#include <immintrin.h>
#include <cstddef>
#include <cstdint>
#include <new>

#include "dsp/SwitchPathScan.h"
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
using veltrax::fast::SwitchPath;
using veltrax::multistream::KernelScratch;
using veltrax::multistream::LaneBlock;
using veltrax::multistream::LaneState;

#define LANE_INLINE inline __attribute__((always_inline))

constexpr int W = LANE_KERNEL_WIDTH;
typedef double V __attribute__((vector_size(W * 8)));
typedef int I __attribute__((vector_size(W * 4)));

LANE_INLINE V splat(double x) {
#if LANE_KERNEL_WIDTH == 8
  return V{x, x, x, x, x, x, x, x};
#else
  return V{x, x, x, x};
#endif
}
LANE_INLINE V load(const double* p) {
  V v;
  __builtin_memcpy(&v, p, sizeof v);
  return v;
}
LANE_INLINE void store(double* p, V v) { __builtin_memcpy(p, &v, sizeof v); }

// x > lo ? x : lo and x < hi ? x : hi (NaN: the bound), one max or min
// instruction each with GCC (by its builtins: GCC 12's 512-bit intrinsics
// warn). Clang, which switches AVX-512 off with -mno-fma, gets the selects.
LANE_INLINE V atLeast(V x, V lo) {
#if defined(__clang__)
  return x > lo ? x : lo;
#elif LANE_KERNEL_WIDTH == 8
  return __builtin_ia32_maxpd512_mask(x, lo, x, 0xff, _MM_FROUND_CUR_DIRECTION);
#else
  return __builtin_ia32_maxpd256(x, lo);
#endif
}
LANE_INLINE V atMost(V x, V hi) {
#if defined(__clang__)
  return x < hi ? x : hi;
#elif LANE_KERNEL_WIDTH == 8
  return __builtin_ia32_minpd512_mask(x, hi, x, 0xff, _MM_FROUND_CUR_DIRECTION);
#else
  return __builtin_ia32_minpd256(x, hi);
#endif
}
// x > hi ? hi : (x > lo ? x : lo), NaN: lo.
LANE_INLINE V clamp(V x, V lo, V hi) { return atMost(atLeast(x, lo), hi); }

// Each lane's integer part (toward zero), exactly.
LANE_INLINE V integerPart(V x) {
#if defined(__clang__)
  return __builtin_convertvector(__builtin_convertvector(x, I), V);
#elif LANE_KERNEL_WIDTH == 8
  return __builtin_ia32_rndscalepd_mask(x, 0x0b, x, 0xff, _MM_FROUND_CUR_DIRECTION);
#else
  return __builtin_ia32_roundpd256(x, 0x0b);
#endif
}

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
LANE_INLINE void tableNeighbours(const double* table, const I& j, V& lower, V& upper) {
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

// The state of one biquad section in transposed direct form II; k holds
// its coefficients -a1, -a2, b0, b1, b2:
//   y = b0 x + z1;  z1 = (b1 x + z2) + (-a1) y;  z2 = b2 x + (-a2) y
struct Section {
  V z1, z2;

  void load(const LaneState& st, int s) {
    z1 = ::load(st.z1[s]);
    z2 = ::load(st.z2[s]);
  }
  void store(LaneState& st, int s) const {
    ::store(st.z1[s], z1);
    ::store(st.z2[s], z2);
  }
  LANE_INLINE V runWith(const V* k, V x) {
    const V y = k[2] * x + z1;
    z1 = (k[3] * x + z2) + k[0] * y;
    z2 = k[4] * x + k[1] * y;
    return y;
  }
  // A first-order section (b2 = a2 = 0) with its z2, a zero, left out:
  //   y = b0 x + z1;  z1 = b1 x + (-a1) y
  LANE_INLINE V runFirstOrder(const V* k, V x) {
    const V y = k[2] * x + z1;
    z1 = k[3] * x + k[0] * y;
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
  // The same step for v = 0, without the f*0 terms.
  LANE_INLINE V stepZeroInput(const V* c) {
    const V y = s[0];
    for (int k = 0; k < 5; ++k) s[k] = c[k] * y + s[k + 1];
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
  LANE_INLINE V run(Section& section, const V* target, V x) {
    V c[5];
    for (int i = 0; i < 5; ++i) c[i] = delta[i] * pos + start[i];
    const V y = section.runWith(c, x);
    const auto ends = pos == len;
    const auto before = pos < len;
    for (int i = 0; i < 5; ++i) {
      start[i] = ends ? target[i] : start[i];
      delta[i] = ends ? splat(0.0) : delta[i];
    }
    pos = (ends | before) ? pos + splat(1.0) : pos;
    return y;
  }
};

// Samples per chunk. Every pass runs over a whole chunk before the next one
// starts, filling and draining its pipeline at the chunk's ends, so longer
// chunks waste fewer steps, while shorter ones keep the buffers between the
// passes closer: 128 samples (about 88 KiB of buffers) measured best with
// 512-bit vectors, 64 (about 22 KiB) with 256-bit ones.
constexpr int kChunk = W == 8 ? 128 : 64;
constexpr int kOversampling = chain::kOversampling;
constexpr int kCascadeSections = kPowerCount + kReviseCount;  // the power cascade, then revise

// Which glide a section of the combined power-and-revise cascade follows (-1: none).
constexpr int glideOf(int k) {
  for (int g = 0; g < chain::kGlidingCount; ++g)
    if (k == chain::kGlidingSections[g]) return g;
  return -1;
}

// A pass over n samples as a software pipeline whose last stage works Lag
// steps behind its first: every stage reads what the stage before it
// produced in the previous step, so the stages of a step do not wait for
// each other, and each owns its state alone, so no value changes. In the
// first and last Lag steps (edge steps) stages without a sample leave their
// state alone; step(s, Edge<true or false>()) runs step s.
template <bool B>
struct Edge {
  static constexpr bool value = B;
};
#define LANE_INLINE_LAMBDA __attribute__((always_inline))

template <int Lag, class Step>
LANE_INLINE void runSkewed(int n, Step&& step) {
  const int steady = Lag < n ? Lag : n;
  int s = 0;
  for (; s < steady; ++s) step(s, Edge<true>());
  for (; s < n; ++s) step(s, Edge<false>());
  for (; s < n + Lag; ++s) step(s, Edge<true>());
}

// The coefficients every pass reads from memory, one vector each (a value per lane).
// Passes read them through an address the compiler cannot see through (see
// Kernel::coefficients): each value is then an operand of the instruction
// that uses it, and the registers stay free for the filter states.
struct Coefficients {
  V pre[kPreCount][5], post[kPostCount][5], cascade[kCascadeSections][5];
  V f[6], c[5];  // the oversampling filter's feedforward and feedback
};

// A control value ramped over the block: k*d + start at sample k. Where d is
// a zero in every lane, k*d is that same zero for every k >= 0, so the value
// is d + start for the whole block, formed once (as the fast engine does).
struct Ramp {
  V d, start, level;

  void load(const double* slope, const double* first) {
    d = ::load(slope);
    start = ::load(first);
    level = d + start;
  }
  bool flat() const {
    for (int l = 0; l < W; ++l)
      if (d[l] != 0.0) return false;
    return true;
  }
  template <bool Flat>
  LANE_INLINE V at(int k) const {
    return Flat ? level : splat(static_cast<double>(k)) * d + start;
  }
};

struct Kernel {
  const LaneBlock& b;
  Section pre[kPreCount], cascade[kCascadeSections], post[kPostCount];
  Glide glide[chain::kGlidingCount];
  OversamplingRow up, down;
  Coefficients coef;
  Ramp volume, sustain, tone;
  V outputLevel;
  V scale;
  V steady[2][5];        // the gliding pair's coefficients where no lane glides
  int from = 0, to = 0;  // the chunk the passes work on

  // The chunk's input, gains, paths (1.0: effect) and output, lane by lane,
  // and what the passes hand on: the four sub-samples of each sample
  // (interpolated, then shaped) and the power cascade's output.
  alignas(64) V sub[kChunk][kOversampling];
  alignas(64) I entry[kChunk][kOversampling];  // the table entries at the shaped positions
  alignas(64) V in[kChunk], gains[kChunk], wet[kChunk], mid[kChunk], out[kChunk];

  Kernel(const LaneState& st, const LaneBlock& block) : b(block) {
    for (int i = 0; i < kPreCount; ++i) pre[i].load(st, kPreFirst + i);
    for (int i = 0; i < kCascadeSections; ++i) cascade[i].load(st, kPowerFirst + i);
    for (int i = 0; i < kPostCount; ++i) post[i].load(st, kPostFirst + i);
    for (int g = 0; g < chain::kGlidingCount; ++g) {
      glide[g].load(st, g);
      glide[g].steadySet(steady[g]);
    }
    for (int i = 0; i < 5; ++i) {
      for (int k = 0; k < kPreCount; ++k) coef.pre[k][i] = load(st.coef[kPreFirst + k][i]);
      for (int k = 0; k < kPostCount; ++k) coef.post[k][i] = load(st.coef[kPostFirst + k][i]);
      for (int k = 0; k < kCascadeSections; ++k)
        coef.cascade[k][i] = load(st.coef[kPowerFirst + k][i]);
    }
    up.load(st.osUp);
    down.load(st.osDown);
    for (int i = 0; i < 6; ++i) coef.f[i] = splat(st.osFeedforward[i]);
    for (int i = 0; i < 5; ++i) coef.c[i] = splat(st.osFeedback[i]);
    volume.load(b.dVolume, b.volumeStart);
    sustain.load(b.dSustain, b.sustainStart);
    tone.load(b.dTone, b.toneStart);
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

  // The coefficient block, at an address the optimiser must take as new on
  // every call: it reads each coefficient where it is used instead of keeping
  // it in a register (and spilling filter states to make room).
  LANE_INLINE const Coefficients* coefficients() const {
    const Coefficients* p = &coef;
    __asm__("" : "+r"(p));
    return p;
  }

  LANE_INLINE bool inChunk(int j) const { return j >= 0 && j < to - from; }

  // Pre cascade, drive and four-times interpolation by zero insertion, in ->
  // sub. Step s: pre section i on sample s - i, drive and interpolation on
  // s - kPreCount.
  template <bool Flat>
  void interpolatePass() {
    Section s[kPreCount];
    for (int i = 0; i < kPreCount; ++i) s[i] = pre[i];
    OversamplingRow row = up;
    V carry[kPreCount] = {};  // what each section produced in the last step
    runSkewed<kPreCount>(to - from, [&](int step, auto edge) LANE_INLINE_LAMBDA {
      constexpr bool Edge = decltype(edge)::value;
      const Coefficients* k = coefficients();
      const int ji = step - kPreCount;
      if (!Edge || inChunk(ji)) {
        const V u = carry[kPreCount - 1] * sustain.at<Flat>(from + ji);
        sub[ji][0] = row.step(k->f, k->c, u);
#pragma GCC unroll 4
        for (int p = 1; p < kOversampling; ++p) sub[ji][p] = row.stepZeroInput(k->c);
      }
#pragma GCC unroll 4
      for (int i = kPreCount - 1; i >= 0; --i) {
        if (Edge && !inChunk(step - i)) continue;
        carry[i] = s[i].runWith(k->pre[i], i == 0 ? in[step] : carry[i - 1]);
      }
    });
    for (int i = 0; i < kPreCount; ++i) pre[i] = s[i];
    up = row;
  }

  // The clipping section's sub-samples, in place in sub: clamp to -0.001 ..
  // 0.00125 (NaN: -0.001), x800, the post cascade, clamp to -1 .. 1 (NaN:
  // -1), then tanh(16 h) by linear interpolation in the table. Two loops: the
  // filters, the table entries and the fractions (in sub), whose recurrences
  // leave room for the extra arithmetic; then the table reads, which wait on
  // nothing but their own entries.
  template <bool FirstOrderPost>
  void shapePass() {
    Section s[kPostCount];
    V c[kPostCount][5];  // few enough to stay in registers here
    for (int i = 0; i < kPostCount; ++i) {
      s[i] = post[i];
      for (int k = 0; k < 5; ++k) c[i][k] = coef.post[i][k];
    }
    const V hi = splat(0.00125), lo = splat(-0.001), one = splat(1.0), minusOne = splat(-1.0);
    const int n = to - from;
    static_assert(kPostCount == 2, "the shaper's pipeline has a stage per post section");
    V first[kOversampling] = {};  // post section 0's output, one step earlier
    runSkewed<1>(n, [&](int step, auto edge) LANE_INLINE_LAMBDA {
      constexpr bool Edge = decltype(edge)::value;
      const int j = step - 1;
      if (!Edge || inChunk(j)) {
#pragma GCC unroll 4
        for (int p = 0; p < kOversampling; ++p) {
          V h = FirstOrderPost ? s[1].runFirstOrder(c[1], first[p]) : s[1].runWith(c[1], first[p]);
          h = clamp(h, minusOne, one);
          const V pos = scale + h * scale;
          entry[j][p] = __builtin_convertvector(pos, I);
          sub[j][p] = pos - integerPart(pos);  // pos - j: pos >= 0, so j is its integer part
        }
      }
      if (!Edge || inChunk(step)) {
#pragma GCC unroll 4
        for (int p = 0; p < kOversampling; ++p) {
          const V y = sub[step][p];
          const V h = clamp(y, lo, hi);
          const V x = h * splat(800.0);
          first[p] = FirstOrderPost ? s[0].runFirstOrder(c[0], x) : s[0].runWith(c[0], x);
        }
      }
    });
    for (int i = 0; i < kPostCount; ++i) post[i] = s[i];
    for (int j = 0; j < n; ++j) {
#pragma GCC unroll 4
      for (int p = 0; p < kOversampling; ++p) {
        V lower, upper;
        tableNeighbours(b.clipEntries, entry[j][p], lower, upper);
        sub[j][p] = (upper - lower) * sub[j][p] + lower;
      }
    }
  }

  // Cascade section k on x with coefficients c (the gliding pair by its glide,
  // which ends on c).
  template <bool Gliding>
  LANE_INLINE V runSection(Section& s, Glide* g, int k, const V* c, V x) {
    const int gl = glideOf(k);
    if (gl >= 0) return Gliding ? g[gl].run(s, c, x) : s.runWith(steady[gl], x);
    return s.runWith(c, x);
  }

  // Decimation (pass 0's output kept), tone level and the power cascade,
  // sub -> mid. Step s: decimation and tone level on sample s, power section
  // i on s - 1 - i.
  template <bool Gliding, bool Flat>
  void decimatePass() {
    Section s[kPowerCount];
    for (int i = 0; i < kPowerCount; ++i) s[i] = cascade[i];
    Glide g[chain::kGlidingCount];
    if (Gliding)
      for (int i = 0; i < chain::kGlidingCount; ++i) g[i] = glide[i];
    OversamplingRow row = down;
    V toned = splat(0.0), carry[kPowerCount] = {};
    runSkewed<kPowerCount>(to - from, [&](int step, auto edge) LANE_INLINE_LAMBDA {
      constexpr bool Edge = decltype(edge)::value;
      const Coefficients* k = coefficients();
#pragma GCC unroll 4
      for (int i = kPowerCount - 1; i >= 0; --i) {
        const int j = step - 1 - i;
        if (Edge && !inChunk(j)) continue;
        carry[i] = runSection<Gliding>(s[i], g, i, k->cascade[i], i == 0 ? toned : carry[i - 1]);
        if (i == kPowerCount - 1) mid[j] = carry[i];
      }
      if (!Edge || inChunk(step)) {
        const V* w = sub[step];
        const V z0 = row.step(k->f, k->c, w[0]);
#pragma GCC unroll 4
        for (int p = 1; p < kOversampling; ++p) row.step(k->f, k->c, w[p]);
        toned = z0 * tone.at<Flat>(from + step);
      }
    });
    for (int i = 0; i < kPowerCount; ++i) cascade[i] = s[i];
    if (Gliding)
      for (int i = 0; i < chain::kGlidingCount; ++i) glide[i] = g[i];
    down = row;
  }

  // The revise cascade's sections that the output pass runs; with 16
  // registers the first half runs in a pass of its own (reviseHeadPass), so
  // that each pass's states fit in them.
  static constexpr int kOutputSections = W == 8 ? kReviseCount : kReviseCount / 2;
  static constexpr int kOutputFirst = kPowerCount + kReviseCount - kOutputSections;

  // The first kCount revise sections, in place in mid. Step s: section i on
  // sample s - i.
  template <int kCount>
  void reviseHeadPass() {
    Section s[kCount];
    for (int i = 0; i < kCount; ++i) s[i] = cascade[kPowerCount + i];
    V carry[kCount] = {};
    runSkewed<kCount - 1>(to - from, [&](int step, auto edge) LANE_INLINE_LAMBDA {
      constexpr bool Edge = decltype(edge)::value;
      const Coefficients* k = coefficients();
#pragma GCC unroll 8
      for (int i = kCount - 1; i >= 0; --i) {
        if (Edge && !inChunk(step - i)) continue;
        carry[i] = s[i].runWith(k->cascade[kPowerCount + i], i == 0 ? mid[step] : carry[i - 1]);
        if (i == kCount - 1) mid[step - i] = carry[i];
      }
    });
    for (int i = 0; i < kCount; ++i) cascade[kPowerCount + i] = s[i];
  }

  // The rest of the revise cascade, volume, output level and the switch, mid
  // -> out. Step s: its section i on sample s - i, the output on s - kOutputSections.
  template <bool WetOnly, bool Flat>
  void outputPass() {
    constexpr int kCount = kOutputSections;
    Section s[kCount];
    for (int i = 0; i < kCount; ++i) s[i] = cascade[kOutputFirst + i];
    V carry[kCount] = {};
    runSkewed<kCount>(to - from, [&](int step, auto edge) LANE_INLINE_LAMBDA {
      constexpr bool Edge = decltype(edge)::value;
      const Coefficients* k = coefficients();
      const int o = step - kCount;
      if (!Edge || inChunk(o)) {
        const V wetOut = (volume.at<Flat>(from + o) * carry[kCount - 1]) * outputLevel;
        if (WetOnly) {
          out[o] = wetOut;  // every gain 1.0: x*1.0 is x (see SwitchPath::wet)
        } else {
          const V dryOut = gains[o] * in[o];
          out[o] = wet[o] == splat(1.0) ? wetOut * gains[o] : dryOut;
        }
      }
#pragma GCC unroll 8
      for (int i = kCount - 1; i >= 0; --i) {
        if (Edge && !inChunk(step - i)) continue;
        carry[i] = s[i].runWith(k->cascade[kOutputFirst + i], i == 0 ? mid[step] : carry[i - 1]);
      }
    });
    for (int i = 0; i < kCount; ++i) cascade[kOutputFirst + i] = s[i];
  }

  // Sample j of every lane into the chunk's vectors (each lane read in
  // order); a lane whose block ends earlier computes on zeros there. While
  // every lane has the whole chunk, W samples of W lanes at a time are loaded
  // row by row and transposed in registers.
  // With WetOnly the gains and paths are not needed.
  template <bool WetOnly>
  void gatherChunk() {
    int j = from;
    if (everyLaneCoversChunk()) {
      prefetchNextChunk();
      for (; j + W <= to; j += W) {
        V x[W];
        for (int l = 0; l < W; ++l) x[l] = load(b.in[l] + j);
        transpose(x);
        for (int k = 0; k < W; ++k) in[j - from + k] = x[k];
        if (WetOnly) continue;
        V g[W], w[W];
        for (int l = 0; l < W; ++l) {
          g[l] = load(b.gains[l] + j);
          w[l] = loadFlags(b.pathFlags[l] + j);
        }
        transpose(g);
        transpose(w);
        for (int k = 0; k < W; ++k) {
          gains[j - from + k] = g[k];
          wet[j - from + k] = w[k] == splat(1.0) ? splat(1.0) : splat(0.0);
        }
      }
    }
    gatherLaneByLane(j);
  }

  // Samples [first, to) of the chunk one value at a time (gains and paths
  // even where WetOnly leaves them unread: this covers the few samples
  // outside whole groups of W).
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

  template <bool Gliding, bool WetOnly, bool Flat>
  void runChunk() {
    gatherChunk<WetOnly>();
    interpolatePass<Flat>();
    b.postFirstOrder ? shapePass<true>() : shapePass<false>();
    decimatePass<Gliding, Flat>();
    if constexpr (kOutputSections < kReviseCount) reviseHeadPass<kReviseCount - kOutputSections>();
    outputPass<WetOnly, Flat>();
    scatterChunk();
  }

  // Whether every lane with samples here takes the effect path at unit gain
  // throughout [b.from, b.to).
  bool everyLaneWet() const {
    for (int l = 0; l < W; ++l)
      if (b.length[l] > b.from && switchPathOver(b.gains[l] + b.from, b.pathFlags[l] + b.from,
                                                 b.to - b.from) != SwitchPath::wet)
        return false;
    return true;
  }

  template <bool Gliding, bool WetOnly, bool Flat>
  void runChunks() {
    for (from = b.from; from < b.to; from = to) {
      to = from + kChunk < b.to ? from + kChunk : b.to;
      runChunk<Gliding, WetOnly, Flat>();
    }
  }

  // The block's specialisations: a glide in some lane, every lane steady on,
  // every ramp flat.
  template <bool Gliding>
  void runWith(bool wetOnly, bool flat) {
    if (wetOnly)
      flat ? runChunks<Gliding, true, true>() : runChunks<Gliding, true, false>();
    else
      flat ? runChunks<Gliding, false, true>() : runChunks<Gliding, false, false>();
  }

  void run() {
    const bool wetOnly = everyLaneWet();
    const bool flat = volume.flat() && sustain.flat() && tone.flat();
    if (glide[0].anywhere() || glide[1].anywhere())
      runWith<true>(wetOnly, flat);
    else
      runWith<false>(wetOnly, flat);
  }
};

}  // namespace

namespace veltrax::multistream {

void LANE_KERNEL_ENTRY(LaneState& state, const LaneBlock& block, KernelScratch& scratch) {
  static_assert(sizeof(Kernel) <= sizeof scratch.bytes && alignof(Kernel) <= alignof(KernelScratch),
                "the kernel's working set fits the batch's scratch room");
  Kernel* kernel = new (scratch.bytes) Kernel(state, block);
  kernel->run();
  kernel->store(state);
  kernel->~Kernel();
}

}  // namespace veltrax::multistream
