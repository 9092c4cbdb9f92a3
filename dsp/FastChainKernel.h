// The scheduled signal chain. Included once per instruction set by the
// FastChain*.cpp files, each of which defines FAST_CHAIN_ENTRY (the name of
// the kernel it exports) and FAST_CHAIN_LANES (8: 512-bit vectors, else 4)
// and is compiled with that instruction set switched on. Everything here has
// internal linkage, so the copies never mix; and nothing here includes a
// header with inline functions of external linkage, whose AVX copies the
// linker could hand to code that runs on any processor.
//
// Every lane of every vector performs exactly the scalar operations of the
// plain per-sample loop, in the same order, so the values are identical; the
// speed comes from the schedule alone.
//
// Cascades. Lane k of an eight-lane pipeline holds one filter section, which
// works one sample behind the section in lane k-1, so one vector step
// advances eight sections. Pipeline A holds the pre cascade (lanes 0..3) and
// the power cascade (lanes 4..7), pipeline B the revise cascade (the layout
// and the lags below: dsp/ChainShape.h). What differs with the register
// width lives in dsp/FastLanes.h and dsp/FastOversamplingRow.h.
//
// Stages. A step s runs every stage once, each on its own sample, and each
// stage reads what the stage before it produced in the previous step, so the
// stages of one step do not wait for each other:
//
//   stage            sample at step s
//   pre cascade      s - k          (pipeline A lane k = 0..3)
//   drive and 4x interpolation     s - 4
//   shaper (clamps, post cascade, tanh table)   s - 5
//   decimation and tone level      s - 6
//   power cascade    s - 7 - k      (pipeline A lane 4 + k)
//   revise cascade   s - 11 - k     (pipeline B lane k = 0..7)
//   output           s - 19
//
// A block of n samples takes n + 19 steps; in the first and last 19 some
// stages have no sample, and their lanes keep their state (edge steps).
//
// Where terms are left out, only the sign of a zero can differ, and zeros of
// either sign meet nothing in the chain that tells them apart (no division;
// the clamps and the table treat +0 and -0 alike):
// - the three zero-input sub-samples of the interpolation filter skip f*0
//   (x + (+0) is x, except that -0 becomes +0);
// - the two post sections are first order (b2 = a2 = 0), so their z2 is a
//   zero as long as everything stays finite, and is left out. The effect
//   runs this kernel only when a block cannot overflow them (see
//   postCascadeIsFirstOrder); their input is clamped to -0.8 .. 1.
#include "dsp/ChainShape.h"
#include "dsp/FastChainState.h"
#include "dsp/FastLanes.h"
#include "dsp/FastOversamplingRow.h"
#include "dsp/SwitchPathScan.h"

namespace {

using veltrax::fast::Block;
using veltrax::fast::ChainState;
using veltrax::fast::GlideState;
using veltrax::fast::PostSection;
using veltrax::fast::SectionBank;
using veltrax::fast::SwitchPath;

namespace chain = veltrax::chain;

// The kernel is written for the chain's lane layout; the effect runs it only
// while chain::kFastLayoutFits (pipeline A split at its halves, two
// post sections, four sub-samples).
static_assert(chain::kLanes == 8, "the pipelines are eight lanes wide");

// ---------------------------------------------------------------------------
// Cascades as skewed eight-lane pipelines.

struct Coefs8 {
  Lanes8 c[5];  // per lane: -a1, -a2, b0, b1, b2
};

struct Pipeline8 {
  Coefs8 k;
  Lanes8 z1, z2;
  Lanes8 y;    // outputs of the last step
  Lanes8 lag;  // lane k works on sample s - lag[k]

  void load(const SectionBank& bank, Lanes8 lanesLag) {
    for (int i = 0; i < 5; ++i) k.c[i] = Lanes8::load(bank.coef[i]);
    z1 = Lanes8::load(bank.z1);
    z2 = Lanes8::load(bank.z2);
    y = Lanes8::splat(0.0);
    lag = lanesLag;
  }

  void store(SectionBank& bank) const {
    z1.store(bank.z1);
    z2.store(bank.z2);
  }

  // Lanes whose sample lies inside the block.
  FAST_INLINE Mask8 lanesInBlock(int s, double n) const {
    const Lanes8 sample = Lanes8::splat(static_cast<double>(s)) - lag;
    return (sample >= Lanes8::splat(0.0)) & (sample < Lanes8::splat(n));
  }

  // Transposed direct form II in every lane:
  //   y = b0 x + z1;  z1 = (b1 x + z2) + (-a1) y;  z2 = b2 x + (-a2) y
  // On edge steps only the lanes with a sample keep their new state.
  template <bool Edge>
  FAST_INLINE void advance(Lanes8 x, const Coefs8& c, int s, double n) {
    const Lanes8 out = c.c[2] * x + z1;
    const Lanes8 nz1 = (c.c[3] * x + z2) + c.c[0] * out;
    const Lanes8 nz2 = c.c[4] * x + c.c[1] * out;
    if (Edge) {
      const Mask8 live = lanesInBlock(s, n);
      z1 = select(live, nz1, z1);
      z2 = select(live, nz2, z2);
    } else {
      z1 = nz1;
      z2 = nz2;
    }
    y = out;
  }
};

// Pipeline A's coefficients. The tone sections (lanes chain::kGlidingLanes) glide:
// sample j of the block uses ipDelta*t + ipStart with t = ipPos + j while
// t <= ipLen, and for the rest of the block the set in force after the glide.
struct Glide {
  Coefs8 after;  // the set used outside the glide (other lanes: the fixed sets)
  Coefs8 start;  // ipStart (gliding lanes)
  Coefs8 delta;  // ipDelta (gliding lanes)
  Lanes8 pos0;   // ipPos at the block's start, minus the lane's lag
  Lanes8 len;    // ipLen; -inf for the lanes that never glide
  bool active;   // some sample of this block glides

  void load(const Coefs8& fixed, const GlideState* glides, Lanes8 lag) {
    active = false;
    after = fixed;
    const Lanes8 zero = Lanes8::splat(0.0);
    for (int i = 0; i < 5; ++i) start.c[i] = delta.c[i] = zero;
    pos0 = zero;
    len = Lanes8::splat(-__builtin_inf());
    for (int g = 0; g < chain::kGlidingCount; ++g) {
      const GlideState& f = glides[g];
      const int lane = chain::kGlidingLanes[g];
      if (f.ipPos <= f.ipLen) {
        active = true;
        // Once the glide has ended inside the block, the section runs with
        // ipDelta = 0, ipStart = coef and t = ipLen + 1.
        for (int i = 0; i < 5; ++i) after.c[i].set(lane, 0.0 * (f.ipLen + 1.0) + fixed.c[i][lane]);
      } else {
        for (int i = 0; i < 5; ++i) after.c[i].set(lane, f.ipDelta[i] * f.ipPos + f.ipStart[i]);
      }
      for (int i = 0; i < 5; ++i) {
        start.c[i].set(lane, f.ipStart[i]);
        delta.c[i].set(lane, f.ipDelta[i]);
      }
      pos0.set(lane, f.ipPos);
      len.set(lane, f.ipLen);
    }
    // t = ipPos + (s - lag): the block's sample index counted from ipPos.
    pos0 = pos0 - lag;
  }

  FAST_INLINE Coefs8 at(int s) const {
    Coefs8 c;
    glideUpperLanes(c.c, pos0, len, delta.c, start.c, after.c, static_cast<double>(s));
    return c;
  }

  // Glide bookkeeping after n samples, as n calls of the per-sample glide leave it.
  static void finish(GlideState& f, const SectionBank& bank, int lane, int n) {
    if (!(f.ipPos <= f.ipLen)) return;
    if (static_cast<double>(n) > f.ipLen - f.ipPos) {
      for (int i = 0; i < 5; ++i) {
        f.ipStart[i] = bank.coef[i][lane];
        f.ipDelta[i] = 0.0;
      }
      f.ipPos = f.ipLen + 1.0;
    } else {
      f.ipPos = f.ipPos + static_cast<double>(n);
    }
  }
};

// ---------------------------------------------------------------------------
// The four-times oversampled clipping section (its filter rows:
// dsp/FastOversamplingRow.h).

// A first-order post section with z2 left out (it stays a zero):
//   y = b0 x + z1;  z1 = b1 x + (-a1) y
struct FirstOrderSection {
  double c0, c2, c3, z1;

  void load(const PostSection& s) {
    c0 = s.coef[0];
    c2 = s.coef[2];
    c3 = s.coef[3];
    z1 = s.z1;
  }
  void store(PostSection& s) const {
    s.z1 = z1;
    s.z2 = 0.0;
  }
  FAST_INLINE double run(double x) { return runProducts(c2 * x, c3 * x); }

  // The same with the input's two products given (b0 x, b1 x).
  FAST_INLINE double runProducts(double b0x, double b1x) {
    const double y = b0x + z1;
    z1 = b1x + c0 * y;
    return y;
  }
};

// A clamped input that sits at one of its bounds: the input and its products
// with the first post section's b0 and b1, formed once per block.
struct BoundInput {
  double b0x, b1x;
  void load(const FirstOrderSection& s, double x) {
    b0x = s.c2 * x;
    b1x = s.c3 * x;
  }
};

struct Clipper4x {
  OversamplingCoefs os;
  OversamplingRow up, down;
  FirstOrderSection post0, post1;
  BoundInput upper, lower;  // 0.00125 * 800 and -0.001 * 800 into post0
  const double* table;      // E[0 .. 2*scale + 1]
  double scale;

  // The interpolation filter's four sub-samples for input u (three zeros inserted).
  FAST_INLINE void interpolate(double u, double* y) {
    y[0] = os.step(up, u);
    y[1] = os.stepZeroInput(up);
    y[2] = os.stepZeroInput(up);
    y[3] = os.stepZeroInput(up);
  }

  // Clamp to -0.001 .. 0.00125 (NaN: -0.001), x800, post cascade, clamp to
  // -1 .. 1 (NaN: -1), tanh(16 h) from the table by linear interpolation.
  // The first clamp stays a branch: a saturated sample then does not wait for y,
  // and its products with the first post section's coefficients are the
  // ones formed once per block (the same operations on the same operands).
  FAST_INLINE double shape(double y) {
    double h;
    if (y > 0.00125)
      h = post0.runProducts(upper.b0x, upper.b1x);
    else if (y > -0.001)
      h = post0.run(y * 800.0);
    else
      h = post0.runProducts(lower.b0x, lower.b1x);
    h = post1.run(h);
    // h > 1 ? 1 : (h > -1 ? h : -1), written as the max and min it equals
    // (max(h, -1) takes -1 for NaN; min(t, 1) then takes 1 exactly when h > 1):
    // fewer instructions than the nested choice.
    const double atLeastMinusOne = h > -1.0 ? h : -1.0;
    h = atLeastMinusOne < 1.0 ? atLeastMinusOne : 1.0;
    const double pos = scale + h * scale;
    const long j = static_cast<long>(pos);
    return (table[j + 1] - table[j]) * (pos - __builtin_trunc(pos)) + table[j];
  }

  // The decimation filter over the four sub-samples; the first one's output
  // is the section's output, the other three are dropped.
  FAST_INLINE double decimate(const double* w) {
    const double z0 = os.step(down, w[0]);
    os.step(down, w[1]);
    os.step(down, w[2]);
    os.step(down, w[3]);
    return z0;
  }
};

// ---------------------------------------------------------------------------

// A control value ramped over the block: k*d + start for sample k. When d is
// a zero, k*d is that same zero for every k >= 0, so the value is d + start
// for the whole block, formed once.
struct Ramp {
  double d, start, level;

  void load(double slope, double first) {
    d = slope;
    start = first;
    level = slope + first;
  }
  bool flat() const { return d == 0.0; }

  template <bool Flat>
  FAST_INLINE double at(int k) const {
    return Flat ? level : static_cast<double>(k) * d + start;
  }
};

struct Engine {
  const Block b;  // a copy: stores to out[] cannot then alias the ramps, which stay in registers
  const double n;
  Pipeline8 a;  // pre cascade | power cascade
  Pipeline8 r;  // revise cascade
  Glide glide;
  Clipper4x clipper;
  double interpolated[4] = {};  // interpolation -> shaper
  double shaped[4] = {};        // shaper -> decimation
  double toned = 0.0;           // decimation -> power cascade
  Ramp volume, sustain, tone;

  Engine(ChainState& st, const Block& block) : b(block), n(block.n) {
    a.load(st.a, Lanes8::load(chain::kBankALags));
    r.load(st.b, Lanes8::load(chain::kBankBLags));
    glide.load(a.k, st.glide, a.lag);
    clipper.os.load(st.osFeedback, st.osFeedforward);
    clipper.up.load(st.osUp);
    clipper.down.load(st.osDown);
    clipper.post0.load(st.post[0]);
    clipper.post1.load(st.post[1]);
    clipper.upper.load(clipper.post0, 0.00125 * 800.0);
    clipper.lower.load(clipper.post0, -0.001 * 800.0);
    volume.load(block.ramps.dVolume, block.ramps.volumeStart);
    sustain.load(block.ramps.dSustain, block.ramps.sustainStart);
    tone.load(block.ramps.dTone, block.ramps.toneStart);
    clipper.table = block.clipEntries;
    clipper.scale = block.clipScale;
  }

  void store(ChainState& st) const {
    a.store(st.a);
    r.store(st.b);
    for (int g = 0; g < chain::kGlidingCount; ++g)
      Glide::finish(st.glide[g], st.a, chain::kGlidingLanes[g], b.n);
    clipper.up.store(st.osUp);
    clipper.down.store(st.osDown);
    clipper.post0.store(st.post[0]);
    clipper.post1.store(st.post[1]);
  }

  FAST_INLINE bool inBlock(int j) const { return j >= 0 && j < b.n; }

  template <bool Edge, bool Gliding, SwitchPath Path, bool Flat>
  FAST_INLINE void step(int s) {
    // What the previous step left for this one.
    const double preOut = a.y[chain::kPowerLane - 1], powerOut = a.y[7], reviseOut = r.y[7];
    const double tonedIn = toned;

    // Output: volume and output level on the effect path, or the dry input.
    const int o = s - chain::kOutputLag;
    if (Path != SwitchPath::dry && (!Edge || inBlock(o))) {
      const double wet = (volume.at<Flat>(o) * reviseOut) * b.outputLevel;
      if (Path == SwitchPath::wet) {
        b.out[o] = wet;
      } else {
        const double gain = b.gains[o];
        b.out[o] = b.pathFlags[o] == 1.0f ? wet * gain : gain * b.in[o];
      }
    }

    // The cascades.
    r.advance<Edge>(shiftIn(r.y, powerOut), r.k, s, n);
    const double x = !Edge || s < b.n ? b.in[s] : 0.0;
    a.advance<Edge>(shiftIn(a.y, x, tonedIn), Gliding ? glide.at(s) : glide.after, s, n);

    // Decimation and tone level.
    const int jd = s - chain::kDecimateLag;
    if (!Edge || inBlock(jd)) toned = clipper.decimate(shaped) * tone.at<Flat>(jd);

    // Shaper.
    if (!Edge || inBlock(s - chain::kShapeLag))
      for (int pass = 0; pass < 4; ++pass) shaped[pass] = clipper.shape(interpolated[pass]);

    // Drive and interpolation.
    const int ji = s - chain::kInterpolateLag;
    if (!Edge || inBlock(ji)) clipper.interpolate(preOut * sustain.at<Flat>(ji), interpolated);
  }

  template <bool Gliding, SwitchPath Path, bool Flat>
  FAST_INLINE void runSteps() {
    const int steps = b.n + chain::kOutputLag;
    int s = 0;
    for (; s < chain::kOutputLag; ++s) step<true, Gliding, Path, Flat>(s);
    for (; s < b.n; ++s) step<false, Gliding, Path, Flat>(s);
    for (; s < steps; ++s) step<true, Gliding, Path, Flat>(s);
  }

  // Flat ramps only matter with steady knobs, which do not glide either.
  template <bool Gliding, SwitchPath Path>
  FAST_INLINE void runSteps() {
    if constexpr (!Gliding) {
      if (volume.flat() && sustain.flat() && tone.flat()) {
        runSteps<Gliding, Path, true>();
        return;
      }
    }
    runSteps<Gliding, Path, false>();
  }

  template <bool Gliding>
  FAST_INLINE void runSteps() {
    switch (switchPathOver(b.gains, b.pathFlags, b.n)) {
      case SwitchPath::wet:
        runSteps<Gliding, SwitchPath::wet>();
        break;
      case SwitchPath::dry:
        runSteps<Gliding, SwitchPath::dry>();
        for (int j = 0; j < b.n; ++j) b.out[j] = b.gains[j] * b.in[j];
        break;
      default:
        runSteps<Gliding, SwitchPath::mixed>();
        break;
    }
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
