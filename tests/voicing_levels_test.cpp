// Levels and time behaviour of the effect path measured as a host, against
// the independent sample-by-sample model of support/VoicingModel: the drive
// stage from the linear range into hard clipping (clamp bounds, x800 scale,
// tanh curve), the fixed output level, the knob ramps and the tone glide,
// and what flush-to-zero does to results too small for a normal number.
#include <gtest/gtest.h>

#include <cmath>

#include "support/ModuleHost.h"
#include "support/RunLength.h"
#include "support/VoicingModel.h"

using namespace testhost;

namespace {

struct Segment {
  voicing::Knobs knobs;
  int block;   // block length of this segment
  int blocks;  // how many blocks
};

struct Scenario {
  double rate, amplitude;
  std::vector<Segment> segments;
};

// Starts right after the sample-rate setup: the first block fades the path in
// from silence and glides the tone filters away from their table designs.
const Scenario kScenarios[] = {
    {44100, 1e-6, {{{0.5, 0.5, 0.5}, 512, 1}, {{0.5, 0.5, 0.5}, 4096, 2}}},  // linear range
    {48000, 3e-4, {{{0.7, 0.3, 0.5}, 1000, 4}}},                             // clipping begins
    {44100, 0.5, {{{1.0, 0.0, 1.0}, 4096, 3}}},                              // hard clipping
    {96000, 1.0, {{{0.3, 1.0, 0.0}, 2048, 4}}},
    // Tone changes glide the peaking and shelf filters over exactly one block
    // (of 2048, then of 1); the tone level and volume ramp over the same block.
    {44100,
     0.05,
     {{{0.5, 0.0, 0.5}, 1024, 2},
      {{0.8, 1.0, 0.5}, 2048, 2},
      {{0.8, 0.3, 0.5}, 1, 1},
      {{0.8, 0.3, 0.5}, 700, 2},
      {{0.0, 0.3, 0.5}, 64, 2}}},
};

TEST(VoicingLevels, EffectPathFollowsTheModelFromLinearRangeIntoClipping) {
  Module module;
  for (const Scenario& s : kScenarios) {
    Instance fx(module);
    voicing::ChainModel model(s.rate);
    fx.setSampleRate(static_cast<float>(s.rate));
    const auto in = noise(s.amplitude, 60000, 5);
    size_t at = 0;
    double worst = 0.0, peak = 0.0;
    for (const Segment& segment : s.segments) {
      const float knobs[4] = {1.0f, float(segment.knobs.volume), float(segment.knobs.tone),
                              float(segment.knobs.sustain)};
      for (int i = 0; i < 4; ++i) fx.setParameter(i, knobs[i]);
      model.setKnobs(segment.knobs);
      for (int b = 0; b < segment.blocks; ++b, at += segment.block) {
        std::vector<double> block(in.begin() + at, in.begin() + at + segment.block),
            expected(block.size());
        model.process(block.data(), expected.data(), segment.block);
        fx.processInPlace(block.data(), segment.block);
        for (size_t i = 0; i < block.size(); ++i) {
          worst = std::fmax(worst, std::fabs(block[i] - expected[i]));
          peak = std::fmax(peak, std::fabs(expected[i]));
        }
      }
    }
    // The model's exact tanh against the product's interpolated table: at
    // most 6e-8 at the curve, amplified by the tone shelf (up to +37 dB).
    EXPECT_LE(worst, 1e-6 * peak) << s.rate << " Hz, amplitude " << s.amplitude << ", peak "
                                  << peak;
    EXPECT_GT(peak, 0.0);
  }
}

bool subnormal(double x) { return std::fpclassify(x) == FP_SUBNORMAL; }

// Results below the smallest normal number come out as zero (flush to zero),
// and are not kept as denormals: neither the effect path's decaying tail
// after a tiny impulse nor the dry path's fade-in gains times a tiny input.
TEST(VoicingLevels, ResultsTooSmallForANormalNumberAreFlushed) {
  if (runningUnderValgrind()) GTEST_SKIP() << "valgrind does not emulate flush-to-zero";
  Module module;
  Instance fx(module);
  fx.setSampleRate(44100.0f);
  fx.process(std::vector<double>(512, 0.0), {512});
  std::vector<double> in(1 << 18,
                         0.0);  // the slowest tail (50 Hz high-pass) leaves the normal range
  in[0] = 0.1;
  const auto tail = fx.process(in, {4096});
  EXPECT_TRUE(std::none_of(tail.begin(), tail.end(), subnormal));
  EXPECT_EQ(tail.back(), 0.0);

  fx.setParameter(0, 0.0f);  // the effect path fades out, then the dry input fades in
  const auto fade = fx.process(std::vector<double>(2000, 1e-306), {256});
  EXPECT_TRUE(std::none_of(fade.begin(), fade.end(), subnormal));
  EXPECT_EQ(fade[705 + 1], 0.0);  // 1e-306 / 705 is below the normal range
  EXPECT_EQ(fade.back(), 1e-306);
}

}  // namespace
