// The scheduled signal chain. Included once per instruction set by the
// FastChain*.cpp files, each of which defines FAST_CHAIN_ENTRY (the name of
// the kernel it exports) and may switch on a wider target before including.
// Everything here has internal linkage, so the copies never mix.
//
// Schedule. The cascades run as skewed pipelines: lane k of a four-lane
// vector holds section k, which works one sample behind section k-1, so one
// vector step advances four sections. Each lane performs exactly the scalar
// operations of the plain per-sample loop in the same order, so every value
// is identical. Per step s:
//
//   pre cascade      lanes 0..3 on samples s, s-1, s-2, s-3
//   drive + clipper  sample s-3 (leaves pre lane 3), scalar
//   power cascade    lanes 0..3 on samples s-3 .. s-6
//   revise cascade   two vectors, lanes 0..7 on samples s-6 .. s-13
//   output           sample s-13
//
// A block of n samples takes n + 13 steps; in the first and last 13 some lanes
// have no sample and keep their state (edge steps, masked).
//
// The only liberty taken: in the three zero-input sub-samples of the
// oversampled section the products f*0 are not added. x + (+0) equals x
// except that -0 becomes +0, so values only differ in the sign of zeros, and
// those meet nothing in the chain that could tell them apart (no division,
// the clamps and the table see +0 and -0 alike).
#include "dsp/FastChainState.h"

// Every function below has internal linkage and is inlined into the kernel,
// so how a 32-byte vector would cross a call (which differs with and without
// AVX) never matters.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace {

using veltrax::fast::Block;
using veltrax::fast::ChainState;
using veltrax::fast::Section;

typedef double V4 __attribute__((vector_size(32)));
typedef long long M4 __attribute__((vector_size(32)));

constexpr int kPreLag = 0;      // pre lane k: sample s - k
constexpr int kClipLag = 3;     // clipper: sample s - 3
constexpr int kPowerLag = 3;    // power lane k: sample s - 3 - k
constexpr int kReviseLag = 6;   // revise lane k (0..7): sample s - 6 - k
constexpr int kOutputLag = 13;  // output: sample s - 13

inline V4 splat(double v) { return V4{v, v, v, v}; }

// The lanes shifted up by one: lane 0 takes `in`, lane k the output of lane k-1.
inline V4 shiftIn(V4 y, double in) { return __builtin_shuffle(y, splat(in), M4{4, 0, 1, 2}); }

// Lanes whose sample s - lag - k lies inside the block.
inline M4 lanesInBlock(int s, int lag, double n) {
  const V4 sample = splat(static_cast<double>(s - lag)) - V4{0.0, 1.0, 2.0, 3.0};
  return (sample >= 0.0) & (sample < n);
}

// Coefficient set of four sections, one per lane.
struct Coefs4 {
  V4 c[5];  // -a1, -a2, b0, b1, b2
};

// Four sections of a cascade as a skewed pipeline.
struct Pipeline4 {
  Coefs4 k;
  V4 z1, z2;
  V4 y;  // outputs of the last step

  void load(const Section* s) {
    for (int i = 0; i < 5; ++i) k.c[i] = V4{s[0].coef[i], s[1].coef[i], s[2].coef[i], s[3].coef[i]};
    z1 = V4{s[0].z1, s[1].z1, s[2].z1, s[3].z1};
    z2 = V4{s[0].z2, s[1].z2, s[2].z2, s[3].z2};
    y = splat(0.0);
  }

  void store(Section* s) const {
    for (int lane = 0; lane < 4; ++lane) {
      s[lane].z1 = z1[lane];
      s[lane].z2 = z2[lane];
    }
  }

  // Transposed direct form II in every lane:
  //   y = b0 x + z1;  z1 = (b1 x + z2) + (-a1) y;  z2 = b2 x + (-a2) y
  // On edge steps only the lanes in `live` keep their new state.
  template <bool Edge>
  V4 advance(V4 x, const Coefs4& c, M4 live) {
    const V4 out = c.c[2] * x + z1;
    const V4 nz1 = (c.c[3] * x + z2) + c.c[0] * out;
    const V4 nz2 = c.c[4] * x + c.c[1] * out;
    if (Edge) {
      z1 = live ? nz1 : z1;
      z2 = live ? nz2 : z2;
    } else {
      z1 = nz1;
      z2 = nz2;
    }
    y = out;
    return out;
  }
};

// The power cascade's coefficients. Sections 2 and 3 glide: sample j of the
// block uses ipDelta*t + ipStart with t = ipPos + j while t <= ipLen, and the
// set in force after the glide for the rest of the block.
struct PowerGlide {
  Coefs4 after;    // lanes 0, 1: fixed; lanes 2, 3: the set after the glide
  Coefs4 start;    // ipStart per lane
  Coefs4 delta;    // ipDelta per lane
  V4 pos0;         // ipPos at the block's start (0 for lanes 0, 1)
  V4 len;          // ipLen (-inf for lanes 0, 1: they never glide)
  bool active;     // some sample of this block glides

  void load(const Section* s) {
    active = false;
    double after2[5], after3[5];
    for (int lane = 2; lane < 4; ++lane) {
      const Section& f = s[lane];
      double* a = lane == 2 ? after2 : after3;
      if (f.ipPos <= f.ipLen) {
        active = true;
        // The glide ends inside this block or later; from then on the
        // section runs with 0*t + coef, t = ipLen + 1.
        for (int i = 0; i < 5; ++i) a[i] = 0.0 * (f.ipLen + 1.0) + f.coef[i];
      } else {
        for (int i = 0; i < 5; ++i) a[i] = f.ipDelta[i] * f.ipPos + f.ipStart[i];
      }
    }
    for (int i = 0; i < 5; ++i) {
      after.c[i] = V4{s[0].coef[i], s[1].coef[i], after2[i], after3[i]};
      start.c[i] = V4{0.0, 0.0, s[2].ipStart[i], s[3].ipStart[i]};
      delta.c[i] = V4{0.0, 0.0, s[2].ipDelta[i], s[3].ipDelta[i]};
    }
    const double never = -__builtin_inf();
    pos0 = V4{0.0, 0.0, s[2].ipPos, s[3].ipPos};
    len = V4{never, never, s[2].ipLen, s[3].ipLen};
  }

  // The set each lane uses on step s (lane k on sample s - kPowerLag - k).
  Coefs4 at(int s) const {
    const V4 t = pos0 + (splat(static_cast<double>(s - kPowerLag)) - V4{0.0, 1.0, 2.0, 3.0});
    const M4 gliding = t <= len;
    Coefs4 c;
    for (int i = 0; i < 5; ++i) c.c[i] = gliding ? delta.c[i] * t + start.c[i] : after.c[i];
    return c;
  }

  // Glide bookkeeping after n samples, as n calls of the per-sample glide would leave it.
  static void finish(Section& f, int n) {
    if (!(f.ipPos <= f.ipLen)) return;
    const double remaining = f.ipLen - f.ipPos;  // samples before the ending one
    if (static_cast<double>(n) > remaining) {
      for (int i = 0; i < 5; ++i) {
        f.ipStart[i] = f.coef[i];
        f.ipDelta[i] = 0.0;
      }
      f.ipPos = f.ipLen + 1.0;
    } else {
      f.ipPos = f.ipPos + static_cast<double>(n);
    }
  }
};

// One scalar section with its state in registers.
struct ScalarSection {
  double c0, c1, c2, c3, c4, z1, z2;

  void load(const Section& s) {
    c0 = s.coef[0];
    c1 = s.coef[1];
    c2 = s.coef[2];
    c3 = s.coef[3];
    c4 = s.coef[4];
    z1 = s.z1;
    z2 = s.z2;
  }
  void store(Section& s) const {
    s.z1 = z1;
    s.z2 = z2;
  }
  double run(double x) {
    const double y = c2 * x + z1;
    z1 = (c3 * x + z2) + c0 * y;
    z2 = c4 * x + c1 * y;
    return y;
  }
};

// The fifth-order oversampling low-pass:
//   y = f0 v + s0;  s_k = (f_(k+1) v + c_(k+1) y) + s_(k+1),  k = 0..4
struct OversamplingRow {
  double s0, s1, s2, s3, s4, s5;

  void load(const double* s) {
    s0 = s[0];
    s1 = s[1];
    s2 = s[2];
    s3 = s[3];
    s4 = s[4];
    s5 = s[5];
  }
  void store(double* s) const {
    s[0] = s0;
    s[1] = s1;
    s[2] = s2;
    s[3] = s3;
    s[4] = s4;
  }
};

struct OversamplingCoefs {
  double c1, c2, c3, c4, c5, f0, f1, f2, f3, f4, f5;

  void load(const double* feedback, const double* feedforward) {
    c1 = feedback[0];
    c2 = feedback[1];
    c3 = feedback[2];
    c4 = feedback[3];
    c5 = feedback[4];
    f0 = feedforward[0];
    f1 = feedforward[1];
    f2 = feedforward[2];
    f3 = feedforward[3];
    f4 = feedforward[4];
    f5 = feedforward[5];
  }

  double step(OversamplingRow& r, double v) const {
    const double y = f0 * v + r.s0;
    r.s0 = (f1 * v + c1 * y) + r.s1;
    r.s1 = (f2 * v + c2 * y) + r.s2;
    r.s2 = (f3 * v + c3 * y) + r.s3;
    r.s3 = (f4 * v + c4 * y) + r.s4;
    r.s4 = (f5 * v + c5 * y) + r.s5;
    return y;
  }

  // The same step for v = 0 without the f*0 terms.
  double stepZeroInput(OversamplingRow& r) const {
    const double y = r.s0;
    r.s0 = c1 * y + r.s1;
    r.s1 = c2 * y + r.s2;
    r.s2 = c3 * y + r.s3;
    r.s3 = c4 * y + r.s4;
    r.s4 = c5 * y + r.s5;
    return y;
  }
};

// The four-times oversampled clipping section of one input sample.
struct Clipper4x {
  OversamplingCoefs os;
  OversamplingRow up, down;
  ScalarSection post0, post1;
  const double* table;  // E[0 .. 2*scale + 1]
  double scale;

  // Clamp, post cascade, clamp, tanh table, decimation filter step.
  double shapeAndDecimate(double y) {
    double h = y > 0.00125 ? 0.00125 : (y > -0.001 ? y : -0.001);
    h = h * 800.0;
    h = post1.run(post0.run(h));
    h = h > 1.0 ? 1.0 : (h > -1.0 ? h : -1.0);
    const double pos = scale + h * scale;
    const int j = static_cast<int>(pos);
    const double w = (table[j + 1] - table[j]) * (pos - j) + table[j];
    return os.step(down, w);
  }

  double run(double u) {
    const double z0 = shapeAndDecimate(os.step(up, u));
    for (int pass = 1; pass < 4; ++pass) shapeAndDecimate(os.stepZeroInput(up));
    return z0;
  }
};

struct Engine {
  const Block& b;
  const double n;
  Pipeline4 pre, power, reviseA, reviseB;
  PowerGlide glide;
  Clipper4x clipper;

  Engine(ChainState& st, const Block& block) : b(block), n(block.n) {
    pre.load(st.pre);
    power.load(st.power);
    reviseA.load(st.revise);
    reviseB.load(st.revise + 4);
    glide.load(st.power);
    clipper.os.load(st.osFeedback, st.osFeedforward);
    clipper.up.load(st.osUp);
    clipper.down.load(st.osDown);
    clipper.post0.load(st.post[0]);
    clipper.post1.load(st.post[1]);
    clipper.table = block.clipEntries;
    clipper.scale = block.clipScale;
  }

  void store(ChainState& st) const {
    pre.store(st.pre);
    power.store(st.power);
    reviseA.store(st.revise);
    reviseB.store(st.revise + 4);
    PowerGlide::finish(st.power[2], b.n);
    PowerGlide::finish(st.power[3], b.n);
    clipper.up.store(st.osUp);
    clipper.down.store(st.osDown);
    clipper.post0.store(st.post[0]);
    clipper.post1.store(st.post[1]);
  }

  template <bool Edge, bool Glide>
  void step(int s) {
    const M4 all = M4{-1, -1, -1, -1};

    // Pre cascade.
    const double x = !Edge || s < b.n ? b.in[s] : 0.0;
    const V4 preOut = pre.advance<Edge>(shiftIn(pre.y, x), pre.k, Edge ? lanesInBlock(s, kPreLag, n) : all);

    // Drive, clipping section and tone level of sample s - 3.
    const int j = s - kClipLag;
    double toned = 0.0;
    if (!Edge || (j >= 0 && j < b.n)) {
      const double k = static_cast<double>(j);
      const double u = preOut[3] * (k * b.dSustain + b.sustainStart);
      toned = clipper.run(u) * (k * b.dTone + b.toneStart);
    }

    // Power cascade (gliding sections 2 and 3).
    const V4 reviseBIn = shiftIn(reviseB.y, reviseA.y[3]);
    const V4 powerIn = shiftIn(power.y, toned);
    const V4 powerOut = power.advance<Edge>(powerIn, Glide ? glide.at(s) : glide.after,
                                            Edge ? lanesInBlock(s, kPowerLag, n) : all);

    // Revise cascade.
    reviseA.advance<Edge>(shiftIn(reviseA.y, powerOut[3]), reviseA.k,
                          Edge ? lanesInBlock(s, kReviseLag, n) : all);
    const V4 result = reviseB.advance<Edge>(reviseBIn, reviseB.k,
                                            Edge ? lanesInBlock(s, kReviseLag + 4, n) : all);

    // Output of sample s - 13: volume and output level on the effect path, or the dry input.
    const int o = s - kOutputLag;
    if (!Edge || (o >= 0 && o < b.n)) {
      const double k = static_cast<double>(o);
      const double gain = b.gains[o];
      const double wet = (((k * b.dVolume + b.volumeStart) * result[3]) * b.outputLevel) * gain;
      const double dry = gain * b.in[o];
      b.out[o] = b.pathFlags[o] == 1.0f ? wet : dry;
    }
  }

  template <bool Glide>
  void runSteps() {
    const int steps = b.n + kOutputLag;
    int s = 0;
    for (; s < kOutputLag; ++s) step<true, Glide>(s);
    for (; s < b.n; ++s) step<false, Glide>(s);
    for (; s < steps; ++s) step<true, Glide>(s);
  }
};

}  // namespace

namespace veltrax::fast {

void FAST_CHAIN_ENTRY(ChainState& state, const Block& block) {
  Engine engine(state, block);
  if (engine.glide.active)
    engine.runSteps<true>();
  else
    engine.runSteps<false>();
  engine.store(state);
}

}  // namespace veltrax::fast
