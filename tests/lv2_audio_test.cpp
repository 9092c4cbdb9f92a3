// The plug-in's audio: value-identical to the module driven directly with the
// same blocks and parameter changes, at the usual rates and any block length;
// trims around the effect; a fresh start on re-activation. (The On/Off fade
// is the module's: the comparison toggles it. What a preset puts on the dials
// is checked in lv2_bundle_test.)
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "lv2/PluginIdentity.h"
#include "lv2_test_support.h"

namespace {

using lv2test::Block;
using lv2test::firstDifference;

constexpr uint32_t kMaxBlock = 2048;

// Knob moves, an On/Off toggle that spans block boundaries, out-of-range
// dials (clamped on both sides alike) and a move back, spread over the plan.
void addControlMoves(std::vector<Block>& plan) {
  const std::vector<std::vector<lv2test::ControlChange>> moves = {
      {{"sustain", 8.0f}, {"tone", 2.5f}},
      {{"volume", 7.25f}},
      {{"enabled", 0.0f}},
      {{"tone", 9.0f}, {"sustain", 3.0f}},
      {{"enabled", 1.0f}},
      {{"volume", 12.0f}, {"sustain", -1.0f}},
      {{"tone", 5.0f}, {"enabled", 0.0f}},
      {{"enabled", 1.0f}, {"volume", 5.0f}},
  };
  const size_t stride = std::max<size_t>(plan.size() / (moves.size() + 1), 1);
  for (size_t m = 0; m < moves.size() && (m + 1) * stride < plan.size(); ++m)
    plan[(m + 1) * stride].changes = moves[m];
}

class Lv2MatchesModule : public ::testing::TestWithParam<double> {};

// Blocks of every length up to the maximum; hosts may hand one buffer as
// input and output; hosts without options run against the default
// reservation (lv2apply, one frame per run, in lv2_lv2apply_test). Steady
// trims are the module between the gains 10^(dB/20).
TEST_P(Lv2MatchesModule, AtAnyBlockLengthInPlaceWithoutHostFeaturesAndTrimmed) {
  const double rate = GetParam();
  const std::vector<float> input = lv2test::guitarLike(rate, static_cast<size_t>(1.5 * rate));
  struct Variant {
    const char* what;
    std::vector<Block> plan;
    bool features, inPlace;
    float inputDb, outputDb;  // trims
  };
  std::vector<Variant> variants = {
      {"varying", lv2test::varyingBlocks(input.size(), kMaxBlock, 17), true, false, 0.0f, 0.0f},
      {"in place", lv2test::varyingBlocks(input.size(), kMaxBlock, 5), true, true, 6.0f, -9.5f},
      {"no features", lv2test::evenBlocks(input.size(), 8192), false, false, -24.0f, 24.0f},
      {"hot input", lv2test::varyingBlocks(input.size(), 512, 3), true, false, 18.0f, 0.0f},
  };
  for (Variant& v : variants) {
    addControlMoves(v.plan);
    v.plan[0].changes = {{"input", v.inputDb}, {"output", v.outputDb}};
    auto plugin = lv2test::makeInstance(rate, v.features ? kMaxBlock : 0, v.features);
    ASSERT_NE(plugin, nullptr) << v.what;
    plugin->activate();
    const std::vector<float> viaModule = lv2test::renderModule(rate, kMaxBlock, input, v.plan);
    EXPECT_EQ(firstDifference(lv2test::renderLv2(*plugin, input, v.plan, v.inPlace), viaModule), -1)
        << v.what;
    EXPECT_GT(lv2test::rms(viaModule), 0.01) << "the comparison must see a processed signal";
  }
}

INSTANTIATE_TEST_SUITE_P(Rates, Lv2MatchesModule, ::testing::Values(44100.0, 48000.0, 96000.0),
                         [](const auto& info) {
                           return std::to_string(static_cast<int>(info.param));
                         });

// A trim moved while running glides linearly over 10 ms from the old gain to
// the new. With the effect off and settled the output is the input times both
// gains, so the gain at every frame of the glide can be read off the output.
TEST(Lv2Trims, GlideWhenMoved) {
  const double rate = 48000.0;
  const uint32_t block = 256;
  const size_t frames = 24000, moveAt = 47 * block;
  std::vector<Block> plan = lv2test::evenBlocks(frames, block);
  plan[0].changes = {{"enabled", 0.0f}, {"output", 0.0f}};
  plan[moveAt / block].changes = {{"output", 12.0f}};
  auto plugin = lv2test::makeInstance(rate, block);
  ASSERT_NE(plugin, nullptr);
  plugin->activate();
  const std::vector<float> out =
      lv2test::renderLv2(*plugin, std::vector<float>(frames, 0.25f), plan);
  const double target = std::pow(10.0, 12.0 / 20.0);
  const auto glide = static_cast<size_t>(std::lround(0.01 * rate));
  for (size_t k = 0; moveAt + k < frames; ++k) {
    const double expected = k < glide ? 1.0 + (target - 1.0) * (k + 1) / glide : target;
    ASSERT_NEAR(out[moveAt + k] / 0.25, expected, 1e-6) << "frame " << k << " after the move";
  }
}

// The plug-in's defaults give a usable level: a guitar-like DI peaking at
// -0.9 dBFS, notes back to back (the loud end of playing), comes out between
// -18 and -12 dBFS RMS.
TEST(Lv2Defaults, TypicalDiLandsAtAUsableLevel) {
  const double rate = 48000.0;
  std::vector<float> di = lv2test::guitarLike(rate, 96000);
  float peak = 0.0f;
  for (float x : di) peak = std::max(peak, std::abs(x));
  const auto toPeak = static_cast<float>(std::pow(10.0, -0.9 / 20.0) / peak);
  for (float& x : di) x *= toPeak;
  auto plugin = lv2test::makeInstance(rate, 512);
  ASSERT_NE(plugin, nullptr);
  plugin->activate();
  const double rmsDb = 20.0 * std::log10(lv2test::rms(lv2test::renderLv2(
                                  *plugin, di, lv2test::evenBlocks(di.size(), 512))));
  EXPECT_GE(rmsDb, -18.0);
  EXPECT_LE(rmsDb, -12.0);
}

// A host re-activating an instance gets a fresh start: the same output as a
// new instance, whatever ran before.
TEST(Lv2Activation, ReactivationForgetsThePast) {
  const double rate = 48000.0;
  const std::vector<float> input = lv2test::guitarLike(rate, 12000);
  std::vector<Block> plan = lv2test::evenBlocks(input.size(), 300);
  plan[0].changes = {{"sustain", 9.0f}, {"tone", 1.0f}};
  plan[plan.size() / 2].changes = {{"enabled", 0.0f}};

  auto fresh = lv2test::makeInstance(rate, 512);
  ASSERT_NE(fresh, nullptr);
  fresh->activate();
  const std::vector<float> expected = lv2test::renderLv2(*fresh, input, plan);

  auto reused = lv2test::makeInstance(rate, 512);
  ASSERT_NE(reused, nullptr);
  reused->activate();
  lv2test::renderLv2(*reused, lv2test::guitarLike(rate, 9000), lv2test::evenBlocks(9000, 128));
  reused->setControl("volume", 9.0f);
  reused->deactivate();
  reused->setControl("volume", veltrax::lv2::kVolumeDialDefault);
  reused->activate();
  EXPECT_EQ(firstDifference(lv2test::renderLv2(*reused, input, plan), expected), -1);
}

}  // namespace
