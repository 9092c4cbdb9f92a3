// The signal chain measured on the module's output: dry path, On/Off
// cross-fade lengths and gains, block partitioning, rate changes and hostile
// input (the voicing tests measure the effect path, its ramps and glides).
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>

#include "support/ModuleHost.h"
#include "support/RunLength.h"

using namespace testhost;

namespace {

constexpr double kRate = 44100.0;

// Rates below 62.5 Hz, from 2^31 Hz up (whose truncation does not fit an
// int32_t), a denormal, and not a number.
const float kInvalidRates[] = {
    0.0f,          -0.0f,     -48000.0f, 62.4f,   std::nextafter(62.5f, 0.0f),
    2147483648.0f, 1e10f,     FLT_MAX,   FLT_MIN, 1e-40f,
    INFINITY,      -INFINITY, NAN};

class SignalChain : public ::testing::Test {
 protected:
  Module module;

  // An instance at `rate` that has processed a first (fade-in) block of 512.
  std::unique_ptr<Instance> settled(double rate = kRate, float onOff = 1.0f) const {
    auto fx = std::make_unique<Instance>(module);
    fx->setParameter(0, onOff);
    fx->setSampleRate(static_cast<float>(rate));
    fx->process(noise(0.3, 512, 99), {512});
    return fx;
  }
};

void expectIdentical(const std::vector<double>& a, const std::vector<double>& b) {
  ASSERT_EQ(a.size(), b.size());
  for (size_t i = 0; i < a.size(); ++i)
    ASSERT_TRUE(sameSamples(a[i], b[i])) << "sample " << i << ": " << a[i] << " vs " << b[i];
}

TEST_F(SignalChain, OffInSteadyStateIsTheDryInputBitForBit) {
  for (float off : {0.0f, 0.5f, 0.999f}) {
    auto fx = settled(kRate, off);
    const auto in = noise(0.9, 3000, 7);
    expectIdentical(fx->process(in, {64, 1, 1000}), in);
  }
}

// A toggle runs the old path down over N samples (gains 1 .. 1/N) and the
// new path up over N (gains 0 .. (N-1)/N), N = floor(0.016 s * rate), across
// block boundaries.
TEST_F(SignalChain, ToggleFadesOldPathOutThenNewPathIn) {
  for (auto [rate, n] : {std::pair{44100.0, 705}, std::pair{48000.0, 768}}) {
    auto toggled = settled(rate);
    auto steady = settled(rate);
    const std::vector<double> ones(2 * n + 300, 1.0);
    toggled->setParameter(0, 0.0f);
    const auto out = toggled->process(ones, {100});
    const auto effect = steady->process(ones, {100});
    const double step = 1.0 / n;
    for (int j = 0; j < n; ++j) {
      ASSERT_TRUE(sameSamples(out[j], effect[j] * ((n - j) * step))) << rate << " out " << j;
      ASSERT_EQ(out[n + j], step * j) << rate << " in " << j;
    }
    for (size_t i = 2 * n; i < out.size(); ++i) ASSERT_EQ(out[i], 1.0) << rate << " steady " << i;
  }
}

// A change in mid-fade sets phase 1 again without resetting the position;
// the path that fades out is chosen by the new value (effect path for any
// value but 1.0), then the dry path fades in from zero.
TEST_F(SignalChain, ToggleBackInMidFadeKeepsThePosition) {
  const int n = 705;
  const double step = 1.0 / n;
  auto fx = settled(kRate, 0.0f);
  auto effectPath = settled(kRate, 1.0f);  // same history, effect path audible
  const std::vector<double> head(300, 1.0), tail(2 * n, 1.0);
  fx->setParameter(0, 1.0f);  // off -> on: the dry path fades out first
  auto out = fx->process(head, {300});
  effectPath->process(head, {300});
  for (int j = 0; j < 300; ++j) ASSERT_EQ(out[j], (n - j) * step);
  fx->setParameter(0, 0.0f);  // back to off at fade position 300
  out = fx->process(tail, {128});
  const auto effect = effectPath->process(tail, {128});
  for (int j = 300; j < n; ++j)
    ASSERT_TRUE(sameSamples(out[j - 300], effect[j - 300] * ((n - j) * step))) << j;
  for (int j = 0; j < n - 300; ++j) ASSERT_EQ(out[n - 300 + j], step * j) << j;
}

TEST_F(SignalChain, SteadyKnobsMakeOutputIndependentOfBlockLengths) {
  const auto in = noise(0.5, 6000, 3);
  auto reference = settled();
  const auto expected = reference->process(in, {256});
  for (std::vector<int> blocks : {std::vector<int>{1}, {7, 1, 300}, {4096}, {64, 63, 65}}) {
    auto fx = settled();
    expectIdentical(fx->process(in, blocks), expected);
  }
}

TEST_F(SignalChain, InPlaceEqualsOutOfPlace) {
  auto a = settled();
  auto b = settled();
  a->setParameter(2, 0.9f);  // with a tone glide and a toggle in flight
  b->setParameter(2, 0.9f);
  a->setParameter(0, 0.0f);
  b->setParameter(0, 0.0f);
  auto in = noise(0.7, 2000, 11);
  const auto expected = a->process(in, {333});
  for (size_t done = 0; done < in.size(); done += 333)
    b->processInPlace(in.data() + done,
                      static_cast<int32_t>(std::min<size_t>(333, in.size() - done)));
  expectIdentical(in, expected);
}

TEST_F(SignalChain, RateChangeStartsAfreshAndSameOrInvalidRatesChangeNothing) {
  const auto in = noise(0.4, 3000, 21);
  auto fresh = settled(48000.0);
  const auto expected = fresh->process(in, {256});

  auto changed = settled(kRate);
  for (float limit : {62.5f, 4000000.0f}) {  // builds at the limits leave nothing behind
    changed->setSampleRate(limit);
    changed->process(noise(0.3, 1000, 98), {1000});
  }
  changed->setSampleRate(48000.0f);
  changed->process(noise(0.3, 512, 99), {512});
  changed->setSampleRate(48000.0f);
  for (float ignored : kInvalidRates) changed->setSampleRate(ignored);
  expectIdentical(changed->process(in, {256}), expected);
}

TEST_F(SignalChain, EmptyBlocksAndBlocksBeforeAnyRateChangeNothing) {
  Instance early(module);
  auto in = noise(0.5, 100, 2);
  in[3] = 1e-310;  // a denormal passes through untouched before any rate
  for (float ignored : kInvalidRates) early.setSampleRate(ignored);
  expectIdentical(early.process(in, {100}), in);

  std::vector<double> poison(8, 42.0);
  double* p = poison.data();
  early.setSampleRate(static_cast<float>(kRate));
  early.setParameter(1, 0.9f);  // knob change stays pending across empty blocks
  for (int32_t n : {0, -1, -5}) early.record()->processDoubleReplacing(early.record(), &p, &p, n);
  EXPECT_EQ(poison, std::vector<double>(8, 42.0));

  Instance clean(module);
  clean.setSampleRate(static_cast<float>(kRate));
  clean.setParameter(1, 0.9f);
  const auto signal = noise(0.5, 1000, 4);
  expectIdentical(early.process(signal, {128}), clean.process(signal, {128}));
}

// Any sample value: the table is never read out of range (checked by the
// sanitizer builds) and the dry path keeps working.
TEST_F(SignalChain, HostileSamplesNeverBreakTheInstance) {
  const double inf = std::numeric_limits<double>::infinity();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  std::vector<double> hostile = {nan, inf, -inf, 1e300, -1e300, 4.9e-324, -0.0, 1e-310, 1.0, -1.0};
  for (float onOff : {1.0f, 0.0f}) {
    auto fx = settled(kRate, onOff);
    const auto out = fx->process(hostile, {3});
    if (onOff == 0.0f) {
      EXPECT_EQ(out[1], inf);
      EXPECT_EQ(out[4], -1e300);
      // A denormal input is flushed on the dry path (valgrind does not emulate flush-to-zero).
      if (!runningUnderValgrind()) {
        EXPECT_EQ(out[5], 0.0);
      }
      EXPECT_TRUE(std::isnan(out[0]));
    }
    fx->process(noise(1.0, 1000, 8), {100});
  }
  // Loud finite input stays bounded: the clipper saturates.
  auto fx = settled();
  fx->setParameter(3, 1.0f);
  fx->setParameter(1, 1.0f);
  for (double x : fx->process(noise(1e6, 20000, 9), {256})) ASSERT_LT(std::fabs(x), 10.0);
}

}  // namespace
