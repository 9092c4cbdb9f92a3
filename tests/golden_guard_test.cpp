// The fast engine against the plain per-sample loop, live in one process:
// two instances get identical calls (rates, blocks, knob automation, toggles,
// program switches, hostile input) and must produce identical outputs, value
// for value (any NaN equals any NaN, +0 equals -0). Every kernel this
// processor can run is checked, and the engines also take turns mid-stream.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "VtableCall.h"
#include "dsp/FastChainState.h"
#include "effect/VELTRAX.h"

namespace {

using veltrax::Engine;
namespace fast = veltrax::fast;

constexpr size_t kSetProgramLongSlot = 164;
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kTwoPi = 6.283185307179586;
constexpr size_t kCanaries = 32;
constexpr double kCanary = -1234.5;  // a value the chain never produces

bool sameValue(double a, double b) { return (std::isnan(a) && std::isnan(b)) || a == b; }

// Makes the next block use exactly this kernel (nullptr: the best one); undone on scope exit.
class ForcedKernel {
 public:
  explicit ForcedKernel(fast::Kernel kernel) { fast::overrideKernel(kernel); }
  ~ForcedKernel() { fast::overrideKernel(nullptr); }
  ForcedKernel(const ForcedKernel&) = delete;
  ForcedKernel& operator=(const ForcedKernel&) = delete;
};

std::vector<fast::KernelChoice> kernelsToCheck() {
  fast::KernelChoice choices[4];
  const int count = fast::supportedKernels(choices, 4);
  return {choices, choices + count};
}

// Plucked notes (decaying harmonics, a new note every 6000 samples, level
// varying from note to note) plus a little noise: the clipper saturates,
// recovers and crosses its thresholds in every block.
std::vector<double> plucks(size_t length, uint32_t seed) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<double> noise(-1e-3, 1e-3);
  std::vector<double> x(length);
  for (size_t i = 0; i < length; ++i) {
    const size_t note = i / 6000;
    const double t = static_cast<double>(i % 6000) / 48000.0;
    const double f = 82.41 * (1.0 + static_cast<double>(note % 7) * 0.5);
    double s = 0.0;
    for (int h = 1; h <= 5; ++h) s += std::sin(kTwoPi * f * h * t) / h;
    x[i] = (0.02 + 0.1 * static_cast<double>(note % 4)) * s * std::exp(-5.0 * t) + noise(rng);
  }
  return x;
}

// What a scenario does to both instances before block `index`.
using Automation = std::function<void(VELTRAX& fx, int index, std::mt19937& rng)>;
// Optional damage to the input signal.
using Damage = std::function<void(std::vector<double>& x)>;

struct Scenario {
  std::string name;
  float rate;
  std::vector<int> blocks;  // cycled
  size_t length;
  Automation automation;
  Damage damage;
  bool inPlace = false;
};

void PrintTo(const Scenario& sc, std::ostream* os) { *os << sc.name; }

// Processes the scenario on a plain and a fast instance and compares every
// output value. `alternate` makes the candidate switch engines every block.
void expectSameOutputs(const Scenario& sc, bool alternate = false) {
  VELTRAX reference(nullptr), candidate(nullptr);
  reference.selectEngine(Engine::plain);
  candidate.selectEngine(Engine::fast);
  reference.setSampleRate(sc.rate);
  candidate.setSampleRate(sc.rate);

  std::vector<double> in = plucks(sc.length, 7);
  if (sc.damage) sc.damage(in);
  std::vector<double> expected(in.size()), actual(in.size());
  std::mt19937 rngReference(11), rngCandidate(11);

  size_t pos = 0;
  for (int index = 0; pos < in.size(); ++index) {
    const int n =
        static_cast<int>(std::min<size_t>(sc.blocks[index % sc.blocks.size()], in.size() - pos));
    if (sc.automation) {
      sc.automation(reference, index, rngReference);
      sc.automation(candidate, index, rngCandidate);
    }
    if (alternate) candidate.selectEngine(index % 3 == 1 ? Engine::plain : Engine::fast);

    double* inRef = &in[pos];
    double* outRef = &expected[pos];
    reference.processDoubleReplacing(&inRef, &outRef, n);

    // The candidate writes into a copy framed by canaries: a write outside
    // the block would otherwise land on samples already compared.
    std::vector<double> framed(static_cast<size_t>(n) + 2 * kCanaries, kCanary);
    double* outCand = &framed[kCanaries];
    double* inCand = &in[pos];
    if (sc.inPlace) {
      std::copy(in.begin() + pos, in.begin() + pos + n, outCand);
      inCand = outCand;
    }
    candidate.processDoubleReplacing(&inCand, &outCand, n);
    for (size_t i = 0; i < kCanaries; ++i)
      ASSERT_TRUE(framed[i] == kCanary && framed[kCanaries + n + i] == kCanary)
          << sc.name << ": block " << index << " (" << n << " samples) wrote outside its buffer";
    std::copy(outCand, outCand + n, actual.begin() + pos);

    for (int i = 0; i < n; ++i)
      ASSERT_TRUE(sameValue(expected[pos + i], actual[pos + i]))
          << sc.name << ": block " << index << " (" << n << " samples), sample " << pos + i
          << ": plain " << expected[pos + i] << ", fast " << actual[pos + i];
    pos += static_cast<size_t>(n);
  }
}

// --- automations -----------------------------------------------------------

void everyKnobEveryBlock(VELTRAX& fx, int, std::mt19937& rng) {
  std::uniform_real_distribution<float> knob(0.0f, 1.0f);
  fx.setParameter(VELTRAX::kVolume, knob(rng));
  fx.setParameter(VELTRAX::kTone, knob(rng));
  fx.setParameter(VELTRAX::kSustain, knob(rng));
}

// Tone moves on some blocks only, so glides end at block starts, run on
// over several blocks of other lengths, or restart from a previous target.
void toneNowAndThen(VELTRAX& fx, int index, std::mt19937& rng) {
  std::uniform_real_distribution<float> knob(0.0f, 1.0f);
  if (index % 3 != 2) fx.setParameter(VELTRAX::kTone, knob(rng));
  if (index % 5 == 0) fx.setParameter(VELTRAX::kSustain, knob(rng));
}

// On/Off flips after 1 to 5 blocks, often inside a running fade, with
// values other than 0 and 1 now and then.
void toggles(VELTRAX& fx, int index, std::mt19937& rng) {
  static const float values[] = {0.0f, 1.0f, 0.0f, 1.0f, 0.5f, 1.0f};
  if (std::uniform_int_distribution<int>(0, 2)(rng) == 0)
    fx.setParameter(VELTRAX::kOnOff, values[index % 6]);
  if (index % 4 == 0) everyKnobEveryBlock(fx, index, rng);
}

// Programs with distinct knob settings, switched through the host
// extension's slot, including indexes it must ignore.
void programSwitches(VELTRAX& fx, int index, std::mt19937& rng) {
  if (index == 0) {
    for (long p = 0; p < VELTRAX::kNumPrograms; ++p) {
      callVirtualSlot<void, long>(&fx, kSetProgramLongSlot, p);
      everyKnobEveryBlock(fx, 0, rng);
    }
    return;
  }
  static const long order[] = {3, 3, 15, -1, 0, 16, 7, 1000, 9};
  callVirtualSlot<void, long>(&fx, kSetProgramLongSlot, order[index % 9]);
}

// One knob at a time (volume, drive, neither, tone), so blocks with one ramp
// sloping and the others flat come with and without a tone glide.
void oneKnobAtATime(VELTRAX& fx, int index, std::mt19937& rng) {
  std::uniform_real_distribution<float> knob(0.0f, 1.0f);
  static const int order[] = {VELTRAX::kVolume, VELTRAX::kSustain, -1, VELTRAX::kTone};
  if (order[index % 4] >= 0) fx.setParameter(order[index % 4], knob(rng));
}

// Switched off from the first block on: every block is steady on the dry path.
void switchedOff(VELTRAX& fx, int index, std::mt19937& rng) {
  if (index == 0) fx.setParameter(VELTRAX::kOnOff, 0.0f);
  toneNowAndThen(fx, index, rng);
}

// Long steady stretches on either path between fades, so blocks start and end
// steady, inside a fade, or with a fade ending or starting in them.
void rareToggles(VELTRAX& fx, int index, std::mt19937& rng) {
  if (index % 9 == 4) fx.setParameter(VELTRAX::kOnOff, (index / 9) % 2 ? 1.0f : 0.0f);
  toneNowAndThen(fx, index, rng);
}

// A new sample rate now and then (the setup clears every state and the
// first block after it fades in).
void rateChanges(VELTRAX& fx, int index, std::mt19937& rng) {
  static const float rates[] = {44100.0f, 96000.0f, 48000.0f, 32000.0f};
  if (index % 7 == 6) fx.setSampleRate(rates[(index / 7) % 4]);
  toneNowAndThen(fx, index, rng);
}

// --- damage ----------------------------------------------------------------

Damage overwrite(size_t at, std::vector<double> values) {
  return [at, values](std::vector<double>& x) {
    for (size_t i = 0; i < values.size() && at + i < x.size(); ++i) x[at + i] = values[i];
  };
}

// Denormal, tiny, huge (overflowing inside the filters) and signed-zero
// samples sprinkled over the whole signal, but nothing that is not a number.
void finiteExtremes(std::vector<double>& x) {
  const double extremes[] = {4.9e-324, -2.2e-308, 1e-300, -0.0, 0.0, 1e300, -1e300, 1e-20};
  for (size_t i = 997, k = 0; i < x.size(); i += 997, ++k) x[i] = extremes[k % 8];
}

std::vector<Scenario> scenarios() {
  const std::vector<int> mixed = {1, 15, 16, 17, 64, 255, 4096, 3, 1000};
  return {
      {"steady_48000_blocks_of_256", 48000.0f, {256}, 48000, nullptr, nullptr},
      {"steady_44100_mixed_blocks", 44100.0f, mixed, 40000, nullptr, nullptr},
      {"steady_96000_blocks_of_4096", 96000.0f, {4096}, 40000, nullptr, nullptr},
      {"automation_every_block_48000",
       48000.0f,
       {256, 100, 33},
       40000,
       everyKnobEveryBlock,
       nullptr},
      {"automation_every_block_44100_mixed", 44100.0f, mixed, 40000, everyKnobEveryBlock, nullptr},
      {"tone_glides_across_blocks", 48000.0f, {64, 200, 17, 4096}, 40000, toneNowAndThen, nullptr},
      {"toggles_mid_fade", 44100.0f, {100, 301, 16}, 40000, toggles, nullptr},
      {"program_switches_by_slot", 48000.0f, {128, 77}, 30000, programSwitches, nullptr},
      {"rate_changes_between_blocks", 44100.0f, {256, 50}, 40000, rateChanges, nullptr},
      {"in_place_automation", 96000.0f, {256, 31}, 30000, everyKnobEveryBlock, nullptr, true},
      {"odd_rate_22050", 22050.0f, {256, 19}, 20000, toneNowAndThen, nullptr},
      {"odd_rate_32000", 32000.0f, {128}, 20000, toneNowAndThen, nullptr},
      {"odd_rate_8000", 8000.0f, {64, 500}, 20000, toneNowAndThen, nullptr},
      {"odd_rate_1000", 1000.0f, {64}, 8000, toneNowAndThen, nullptr},
      {"odd_rate_47999_9", 47999.9f, {256}, 20000, toneNowAndThen, nullptr},
      {"odd_rate_192000", 192000.0f, {512}, 30000, toneNowAndThen, nullptr},
      {"odd_rate_1536000", 1536000.0f, {4096}, 30000, nullptr, nullptr},
      {"lowest_rate_62_5", 62.5f, {7, 64}, 2000, toneNowAndThen, nullptr},
      {"odd_rate_100", 100.0f, {16, 33}, 3000, toggles, nullptr},
      {"odd_rate_500", 500.0f, {64}, 6000, toneNowAndThen, nullptr},
      {"odd_rate_999", 999.0f, {64, 17}, 8000, toneNowAndThen, nullptr},
      {"odd_rate_2000000", 2000000.0f, {4096}, 60000, toneNowAndThen, nullptr},
      {"odd_rate_4000000", 4000000.0f, {4096, 511}, 150000, toggles, nullptr},
      {"finite_extremes", 48000.0f, {256, 40}, 30000, toneNowAndThen, finiteExtremes},
      {"one_nan_mid_block", 48000.0f, {256}, 3000, toneNowAndThen, overwrite(1500, {kNaN})},
      {"infinities", 44100.0f, {64, 300}, 3000, toggles, overwrite(700, {kInf, -kInf})},
      {"huge_burst", 48000.0f, {256}, 3000, nullptr, overwrite(1000, {1e300, 1e300, -1e300})},
      {"one_knob_at_a_time", 48000.0f, {256, 64, 1000}, 40000, oneKnobAtATime, nullptr},
      {"switched_off_extremes_in_place",
       48000.0f,
       {256, 40},
       30000,
       switchedOff,
       finiteExtremes,
       true},
      {"switched_off_nan", 44100.0f, {256}, 3000, switchedOff, overwrite(1200, {kNaN, -kInf})},
      {"steady_stretches_between_fades",
       48000.0f,
       {256, 700, 33},
       40000,
       rareToggles,
       finiteExtremes},
      {"steady_stretches_in_place", 44100.0f, {512, 64}, 40000, rareToggles, nullptr, true},
  };
}

class GoldenGuard : public ::testing::TestWithParam<Scenario> {};

TEST_P(GoldenGuard, FastEngineMatchesPlainValueForValue) {
  const auto kernels = kernelsToCheck();
  if (kernels.empty())
    GTEST_SKIP() << "no fast kernel on this processor: both engines run the plain loop";
  for (const fast::KernelChoice& kernel : kernels) {
    SCOPED_TRACE(kernel.name);
    ForcedKernel forced(kernel.run);
    expectSameOutputs(GetParam());
  }
}

// The engines take turns between blocks (fast, plain, fast, ...): each must
// leave the filter and oversampling state exactly as the other expects it.
TEST_P(GoldenGuard, EnginesTakeTurnsSeamlessly) {
  for (const fast::KernelChoice& kernel : kernelsToCheck()) {
    SCOPED_TRACE(kernel.name);
    ForcedKernel forced(kernel.run);
    expectSameOutputs(GetParam(), /*alternate=*/true);
  }
}

INSTANTIATE_TEST_SUITE_P(Scenarios, GoldenGuard, ::testing::ValuesIn(scenarios()),
                         [](const ::testing::TestParamInfo<Scenario>& info) {
                           return info.param.name;
                         });

// The guard would pass vacuously if the fast engine silently ran the plain
// loop. A counting kernel stands in for the best one and must see every block
// of 16 samples or more at ordinary rates, and none of the shorter ones.
int kernelCalls = 0;
fast::Kernel countedKernel = nullptr;
void countingKernel(fast::ChainState& state, const fast::Block& block) {
  ++kernelCalls;
  countedKernel(state, block);
}

TEST(GoldenGuardCoverage, FastKernelRunsForOrdinaryBlocks) {
  const auto kernels = kernelsToCheck();
  if (kernels.empty()) GTEST_SKIP() << "no fast kernel on this processor";
  countedKernel = kernels.front().run;
  ForcedKernel forced(countingKernel);
  for (float rate : {44100.0f, 48000.0f, 96000.0f}) {
    VELTRAX fx(nullptr);
    fx.setSampleRate(rate);
    std::vector<double> in = plucks(4096, 3), out(in.size());
    kernelCalls = 0;
    size_t pos = 0;
    for (int n : {256, 16, 15, 1, 4096}) {
      n = static_cast<int>(std::min<size_t>(static_cast<size_t>(n), in.size() - pos));
      double* i = &in[pos];
      double* o = &out[pos];
      fx.processDoubleReplacing(&i, &o, n);
      pos += static_cast<size_t>(n);
    }
    EXPECT_EQ(kernelCalls, 3) << rate;  // 256, 16 and the rest; not 15 or 1
  }
}

// The post sections may run without z2 only when no block can overflow them.
// Each row spoils one condition of the effect's own first-order designs; every
// one of them must send the block to the plain loop.
TEST(FastEngineConditions, PostCascadeWithoutZ2OnlyWhenNothingCanOverflow) {
  fast::ChainState designed{};
  designed.post[0] = {{0.7, 0.0, 0.15, 0.15, 0.0}, 0.3, 0.0};      // low-pass
  designed.post[1] = {{-0.2, -0.0, 0.9, -0.1, 0.0}, -0.05, -0.0};  // shelf; -0 is a zero too
  ASSERT_TRUE(fast::postCascadeIsFirstOrder(designed));

  const struct {
    const char* spoiled;
    void (*spoil)(fast::PostSection&);
  } rows[] = {
      {"second-order feedback", [](fast::PostSection& s) { s.coef[1] = 1e-12; }},
      {"second-order feed-forward", [](fast::PostSection& s) { s.coef[4] = -1e-12; }},
      {"z2 not a zero", [](fast::PostSection& s) { s.z2 = 1e-300; }},
      {"pole outside the unit circle",
       [](fast::PostSection& s) { s.coef[0] = -1.0000000000000002; }},
      {"huge feed-forward", [](fast::PostSection& s) { s.coef[2] = 1e7; }},
      {"huge state", [](fast::PostSection& s) { s.z1 = -1e7; }},
      {"NaN coefficient", [](fast::PostSection& s) { s.coef[3] = kNaN; }},
      {"NaN feedback", [](fast::PostSection& s) { s.coef[0] = kNaN; }},
      {"infinite state", [](fast::PostSection& s) { s.z1 = kInf; }},
  };
  for (const auto& row : rows)
    for (int section = 0; section < 2; ++section) {
      fast::ChainState st = designed;
      row.spoil(st.post[section]);
      EXPECT_FALSE(fast::postCascadeIsFirstOrder(st)) << row.spoiled << ", section " << section;
    }
}

}  // namespace
