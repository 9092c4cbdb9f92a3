// The multi-stream kernel: one independent effect instance per vector lane.
// Included once per instruction set by the LaneKernel*.cpp files, each of
// which defines LANE_KERNEL_ENTRY (the name it exports) and LANE_KERNEL_WIDTH
// (8: 512-bit vectors, 4: 256-bit) and is compiled with that instruction set
// (no FMA). Everything here has internal linkage, so the copies never mix.
//
// Every lane performs exactly the scalar operations of the plain per-sample
// loop, in the same order, with no term left out, so every value is the plain
// loop's to the bit. The block runs in chunks, and a chunk stage by stage:
//   A  pre cascade and drive            -> u[j]
//   B  4x interpolation and the shaper  -> w[j][pass]
//   C  decimation, tone level, power and revise cascades, output
// Each stage owns its state alone, so running a stage over several samples
// before the next stage starts changes no value; it gives the processor many
// independent samples to overlap.
#include <immintrin.h>

#include "dsp/multistream/LaneState.h"

#pragma GCC diagnostic ignored "-Wpsabi"

namespace {

using veltrax::multistream::kGlidingFirst;
using veltrax::multistream::kMaxLanes;
using veltrax::multistream::kPostFirst;
using veltrax::multistream::kPowerFirst;
using veltrax::multistream::kPreFirst;
using veltrax::multistream::kReviseFirst;
using veltrax::multistream::LaneBlock;
using veltrax::multistream::LaneState;

#define LANE_INLINE inline __attribute__((always_inline))

constexpr int W = LANE_KERNEL_WIDTH;
typedef double V __attribute__((vector_size(W * 8)));
typedef int I __attribute__((vector_size(W * 4)));

constexpr int kChunk = 64;  // samples per stage pass: three buffers of 4 KiB .. 16 KiB stay in L1

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

// E[j] for every lane's j.
LANE_INLINE V gather(const double* base, I j) {
// (The masked forms with every lane on: the plain ones start from an
// undefined register, which GCC 12 warns about.)
#if LANE_KERNEL_WIDTH == 8
  return reinterpret_cast<V>(
      _mm512_mask_i32gather_pd(_mm512_setzero_pd(), 0xFF, reinterpret_cast<__m256i>(j), base, 8));
#else
  return reinterpret_cast<V>(
      _mm256_mask_i32gather_pd(_mm256_setzero_pd(), base, reinterpret_cast<__m128i>(j),
                               _mm256_castsi256_pd(_mm256_set1_epi64x(-1)), 8));
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

// Power sections 2 and 3: c = ipDelta*t + ipStart with t = ipPos, and after
// the sample the glide advances (at t == ipLen the target set takes over).
struct GlidingSection {
  Section section;
  V start[5], delta[5], target[5];
  V pos, len;

  void load(const LaneState& st, int g) {
    section.load(st, kGlidingFirst + g);
    for (int i = 0; i < 5; ++i) {
      start[i] = ::load(st.ipStart[g][i]);
      delta[i] = ::load(st.ipDelta[g][i]);
      target[i] = section.c[i];
    }
    pos = ::load(st.ipPos[g]);
    len = ::load(st.ipLen[g]);
  }
  void store(LaneState& st, int g) const {
    section.store(st, kGlidingFirst + g);
    for (int i = 0; i < 5; ++i) {
      ::store(st.ipStart[g][i], start[i]);
      ::store(st.ipDelta[g][i], delta[i]);
    }
    ::store(st.ipPos[g], pos);
  }
  bool glidesAnywhere() const {
    for (int l = 0; l < W; ++l)
      if (pos[l] <= len[l]) return true;
    return false;
  }
  // The coefficient set of a stretch in which no lane glides: t stays put.
  void steadySet(V* c) const {
    for (int i = 0; i < 5; ++i) c[i] = delta[i] * pos + start[i];
  }
  LANE_INLINE V runGliding(V x) {
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

struct Kernel {
  const LaneBlock& b;
  Section pre[4], power[2], revise[8], post[2];
  GlidingSection gliding[2];
  OversamplingRow up, down;
  V f[6], c[5];
  V dVolume, dSustain, dTone, volumeStart, sustainStart, toneStart, outputLevel;
  V scale;

  Kernel(const LaneState& st, const LaneBlock& block) : b(block) {
    for (int i = 0; i < 4; ++i) pre[i].load(st, kPreFirst + i);
    for (int i = 0; i < 2; ++i) power[i].load(st, kPowerFirst + i);
    for (int i = 0; i < 8; ++i) revise[i].load(st, kReviseFirst + i);
    for (int i = 0; i < 2; ++i) post[i].load(st, kPostFirst + i);
    for (int g = 0; g < 2; ++g) gliding[g].load(st, g);
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
    for (int i = 0; i < 4; ++i) pre[i].store(st, kPreFirst + i);
    for (int i = 0; i < 2; ++i) power[i].store(st, kPowerFirst + i);
    for (int i = 0; i < 8; ++i) revise[i].store(st, kReviseFirst + i);
    for (int i = 0; i < 2; ++i) post[i].store(st, kPostFirst + i);
    for (int g = 0; g < 2; ++g) gliding[g].store(st, g);
    up.store(st.osUp);
    down.store(st.osDown);
  }

  // A: pre cascade, then the drive u = x * (k*dSustain + sustainStart).
  LANE_INLINE void preAndDrive(int from, int to, V* u) {
    for (int j = from; j < to; ++j) {
      V x = load(b.in + j * kMaxLanes);
#pragma GCC unroll 4
      for (int s = 0; s < 4; ++s) x = pre[s].run(x);
      u[j - from] = x * (splat(static_cast<double>(j)) * dSustain + sustainStart);
    }
  }

  // Clamp to -0.001 .. 0.00125 (NaN: -0.001), x800, post cascade, clamp to
  // -1 .. 1 (NaN: -1), tanh(16 h) from the table by linear interpolation.
  LANE_INLINE V shape(V y) {
    const V hi = splat(0.00125), lo = splat(-0.001), one = splat(1.0), minusOne = splat(-1.0);
    V h = y > hi ? hi : (y > lo ? y : lo);
    h = h * splat(800.0);
    h = post[0].run(h);
    h = post[1].run(h);
    h = h > one ? one : (h > minusOne ? h : minusOne);
    const V pos = scale + h * scale;
    const I j = __builtin_convertvector(pos, I);
    const V lower = gather(b.clipEntries, j);
    const V upper = gather(b.clipEntries + 1, j);
    return (upper - lower) * (pos - __builtin_convertvector(j, V)) + lower;
  }

  // B: four-times interpolation by zero insertion, each sub-sample shaped.
  LANE_INLINE void interpolateAndShape(int count, const V* u, V (*w)[4]) {
    for (int j = 0; j < count; ++j) {
#pragma GCC unroll 4
      for (int pass = 0; pass < 4; ++pass) {
        const V v = pass == 0 ? u[j] : splat(0.0);
        w[j][pass] = shape(up.step(f, c, v));
      }
    }
  }

  // C: decimation (pass 0's output kept), tone level, power and revise
  // cascades, then volume, output level and the switch against the dry input.
  template <bool Gliding>
  LANE_INLINE void decimateToOutput(int from, int to, const V (*w)[4], const V* steady) {
    for (int j = from; j < to; ++j) {
      const V* wj = w[j - from];
      const V z0 = down.step(f, c, wj[0]);
      down.step(f, c, wj[1]);
      down.step(f, c, wj[2]);
      down.step(f, c, wj[3]);
      const V k = splat(static_cast<double>(j));
      V t = z0 * (k * dTone + toneStart);
      t = power[0].run(t);
      t = power[1].run(t);
      if (Gliding) {
        t = gliding[0].runGliding(t);
        t = gliding[1].runGliding(t);
      } else {
        t = gliding[0].section.runWith(steady, t);
        t = gliding[1].section.runWith(steady + 5, t);
      }
#pragma GCC unroll 8
      for (int s = 0; s < 8; ++s) t = revise[s].run(t);

      const size_t at = static_cast<size_t>(j) * kMaxLanes;
      const V gain = load(b.gains + at);
      const V wetOut = (((k * dVolume + volumeStart) * t) * outputLevel) * gain;
      const V dryOut = gain * load(b.in + at);
      ::store(b.out + at, load(b.wet + at) == splat(1.0) ? wetOut : dryOut);
    }
  }

  void run() {
    alignas(64) V u[kChunk];
    alignas(64) V w[kChunk][4];
    const bool glides = gliding[0].glidesAnywhere() || gliding[1].glidesAnywhere();
    V steady[10];
    gliding[0].steadySet(steady);
    gliding[1].steadySet(steady + 5);
    for (int from = b.from; from < b.to; from += kChunk) {
      const int to = from + kChunk < b.to ? from + kChunk : b.to;
      preAndDrive(from, to, u);
      interpolateAndShape(to - from, u, w);
      if (glides)
        decimateToOutput<true>(from, to, w, steady);
      else
        decimateToOutput<false>(from, to, w, steady);
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
