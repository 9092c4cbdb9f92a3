// The multi-stream engine against the plain per-sample loop, live in one
// process: every stream of a batch must give exactly the values one plain
// instance gives for the same blocks and knob changes (bit for bit; any NaN
// equals any NaN). Lanes run streams of different lengths with their own
// block lengths, knobs, On/Off states and automation; streams take over lanes
// as earlier ones end. Every kernel this processor can run is checked, the
// plain fallback included.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "dsp/multistream/StreamBatch.h"
#include "effect/VELTRAX.h"

namespace {

namespace ms = veltrax::multistream;

constexpr double kTwoPi = 6.283185307179586;

bool sameValue(double a, double b) {
  return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

// Decaying plucked notes plus a little noise: the clipper saturates and recovers.
std::vector<double> plucks(size_t length, uint32_t seed, float rate) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<double> noise(-1e-3, 1e-3);
  const double f = 82.41 * (1.0 + (seed % 5) * 0.5);
  std::vector<double> x(length);
  for (size_t i = 0; i < length; ++i) {
    const double t = static_cast<double>(i % 4000) / rate;
    x[i] = (0.02 + 0.05 * (seed % 4)) * std::sin(kTwoPi * f * t) * std::exp(-4.0 * t) + noise(rng);
  }
  return x;
}

enum class Automation { none, everyKnob, toneSometimes, toggles };
enum class Damage { none, hostile };

struct Scenario {
  const char* name;
  float rate;
  std::vector<int> blocks;  // cycled, starting at a different place in each lane
  Automation automation;
  Damage damage;
};

void PrintTo(const Scenario& sc, std::ostream* os) { *os << sc.name; }

// What a scenario does to an instance before block `index` of its stream;
// both sides draw from their own generator with the same seed.
void automate(Automation a, VELTRAX& fx, int index, std::mt19937& rng) {
  std::uniform_real_distribution<float> knob(0.0f, 1.0f);
  static const float onOff[] = {0.0f, 1.0f, 0.5f, 1.0f};
  switch (a) {
    case Automation::none:
      break;
    case Automation::everyKnob:
      fx.setParameter(VELTRAX::kVolume, knob(rng));
      fx.setParameter(VELTRAX::kTone, knob(rng));
      fx.setParameter(VELTRAX::kSustain, knob(rng));
      break;
    case Automation::toneSometimes:  // glides end inside blocks or run over several
      if (index % 3 == 0) fx.setParameter(VELTRAX::kTone, knob(rng));
      break;
    case Automation::toggles:  // fades restarting mid-fade, 0.5 taking the dry path
      if (std::uniform_int_distribution<int>(0, 2)(rng) == 0)
        fx.setParameter(VELTRAX::kOnOff, onOff[index % 4]);
      if (index % 4 == 1) fx.setParameter(VELTRAX::kVolume, knob(rng));
      break;
  }
}

struct Stream {
  std::vector<double> in, expected, actual;
  ms::Knobs knobs;
  uint32_t seed;
  size_t blockPhase;
};

Stream makeStream(const Scenario& sc, uint32_t s) {
  Stream st;
  st.seed = 100 + s;
  st.in = plucks(2000 + (s * 1777) % 7000, st.seed, sc.rate);
  if (sc.damage == Damage::hostile) {
    const double inf = std::numeric_limits<double>::infinity();
    const double bad[] = {std::nan(""), inf, -inf, 1e300, -1e300, 4e-320, 0.0};
    for (size_t i = 37 * (s + 1); i < st.in.size(); i += 997) st.in[i] = bad[(i / 997) % 7];
  }
  std::mt19937 rng(st.seed);
  std::uniform_real_distribution<float> knob(0.0f, 1.0f);
  st.knobs = {knob(rng), knob(rng), knob(rng), s % 3 == 2 ? 0.0f : 1.0f};
  st.blockPhase = s;
  return st;
}

int blockAt(const Scenario& sc, const Stream& st, int index) {
  return sc.blocks[(st.blockPhase + static_cast<size_t>(index)) % sc.blocks.size()];
}

// One plain instance per stream, fed the blocks and knob changes the batch gives its lane.
void renderReference(const Scenario& sc, Stream& st) {
  VELTRAX fx(nullptr);
  fx.selectEngine(veltrax::Engine::plain);
  fx.setParameter(VELTRAX::kOnOff, st.knobs.onOff);
  fx.setParameter(VELTRAX::kVolume, st.knobs.volume);
  fx.setParameter(VELTRAX::kTone, st.knobs.tone);
  fx.setParameter(VELTRAX::kSustain, st.knobs.sustain);
  fx.setSampleRate(sc.rate);
  std::mt19937 rng(st.seed);
  st.expected.assign(st.in.size(), 0.0);
  size_t pos = 0;
  for (int index = 0; pos < st.in.size(); ++index) {
    const int n = static_cast<int>(std::min<size_t>(blockAt(sc, st, index), st.in.size() - pos));
    automate(sc.automation, fx, index, rng);
    double* in = &st.in[pos];
    double* out = &st.expected[pos];
    fx.processDoubleReplacing(&in, &out, n);
    pos += static_cast<size_t>(n);
  }
}

// The streams through one batch: each lane takes the next stream when its
// current one ends; odd streams are processed in place.
void renderBatch(const Scenario& sc, const ms::KernelChoice& kernel, std::vector<Stream>& streams) {
  ms::StreamBatch batch(sc.rate, kernel);
  const int lanes = batch.lanes();
  std::vector<int> current(lanes, -1), index(lanes, 0);
  std::vector<size_t> pos(lanes, 0);
  std::vector<std::mt19937> rng(lanes);
  size_t next = 0;
  for (;;) {
    std::vector<const double*> in(lanes, nullptr);
    std::vector<double*> out(lanes, nullptr);
    std::vector<int32_t> n(lanes, 0);
    bool any = false;
    for (int l = 0; l < lanes; ++l) {
      if (current[l] < 0 && next < streams.size()) {
        current[l] = static_cast<int>(next++);
        Stream& st = streams[current[l]];
        st.actual = st.in;  // in place for odd streams, overwritten otherwise
        batch.startStream(l, st.knobs);
        index[l] = 0;
        pos[l] = 0;
        rng[l].seed(st.seed);
      }
      if (current[l] < 0) continue;
      Stream& st = streams[current[l]];
      n[l] =
          static_cast<int32_t>(std::min<size_t>(blockAt(sc, st, index[l]), st.in.size() - pos[l]));
      automate(sc.automation, batch.effect(l), index[l], rng[l]);
      in[l] = (current[l] % 2 ? st.actual.data() : st.in.data()) + pos[l];
      out[l] = st.actual.data() + pos[l];
      any = true;
    }
    if (!any) break;
    batch.processBlock(in.data(), out.data(), n.data());
    for (int l = 0; l < lanes; ++l) {
      if (current[l] < 0) continue;
      pos[l] += static_cast<size_t>(n[l]);
      ++index[l];
      if (pos[l] == streams[current[l]].in.size()) current[l] = -1;
    }
  }
}

class MultiStreamGuard : public ::testing::TestWithParam<Scenario> {};

TEST_P(MultiStreamGuard, EveryStreamMatchesItsOwnPlainInstance) {
  const Scenario& sc = GetParam();
  ms::KernelChoice kernels[4];
  const int kernelCount = ms::supportedKernels(kernels, 4);
  for (int k = 0; k < kernelCount; ++k) {
    const int lanes = kernels[k].lanes;
    std::vector<Stream> streams;
    for (int s = 0; s < 2 * lanes + 1; ++s)
      streams.push_back(makeStream(sc, static_cast<uint32_t>(s)));
    for (Stream& st : streams) renderReference(sc, st);
    renderBatch(sc, kernels[k], streams);
    for (size_t s = 0; s < streams.size(); ++s) {
      const Stream& st = streams[s];
      for (size_t i = 0; i < st.in.size(); ++i)
        ASSERT_TRUE(sameValue(st.expected[i], st.actual[i]))
            << kernels[k].name << " kernel, stream " << s << ", sample " << i << ": plain "
            << st.expected[i] << ", batch " << st.actual[i];
    }
  }
}

const Scenario kScenarios[] = {
    {"steady_48k_256", 48000.0f, {256}, Automation::none, Damage::none},
    {"every_knob_44k1_mixed_blocks",
     44100.0f,
     {256, 17, 64, 1, 300, 2},
     Automation::everyKnob,
     Damage::none},
    // Below about 10 kHz the post sections are not first order: the lanes run them in full.
    {"tone_glides_8k", 8000.0f, {100, 256, 16, 700}, Automation::toneSometimes, Damage::none},
    {"toggles_96k", 96000.0f, {128, 5, 333, 64}, Automation::toggles, Damage::none},
    {"hostile_input_48k", 48000.0f, {256, 31}, Automation::everyKnob, Damage::hostile},
};

INSTANTIATE_TEST_SUITE_P(Scenarios, MultiStreamGuard, ::testing::ValuesIn(kScenarios),
                         [](const ::testing::TestParamInfo<Scenario>& info) {
                           return info.param.name;
                         });

}  // namespace
