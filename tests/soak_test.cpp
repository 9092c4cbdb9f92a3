// Soak: ten minutes of audio at 48 kHz through the module with the knobs,
// On/Off and programs automated every few blocks and block lengths changing
// all the time. The output must stay finite and bounded, and a second fresh
// instance fed the same script must produce the same output bit for bit,
// even while another instance at other rates is created, run and closed in
// between its blocks (the clipping table is shared by all instances).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <string_view>

#include "support/ModuleHost.h"
#include "support/OutputBound.h"
#include "support/RunLength.h"

using namespace testhost;

namespace {

constexpr double kRate = 48000.0;

// Guitar-like test material in segments of 0.05 .. 2 s: silence (decaying
// filter tails), sines, noise and exponentially decaying plucks, at levels
// from -120 dB to +20 dB.
class SegmentedSignal {
 public:
  explicit SegmentedSignal(uint32_t seed) : rng_(seed) {}

  double next() {
    if (remaining_ == 0) startSegment();
    --remaining_;
    double x = kind_ == Kind::sine || kind_ == Kind::pluck ? amplitude_ * std::sin(phase_) : 0.0;
    if (kind_ == Kind::noise) x = amplitude_ * uniform_(rng_);
    if (kind_ == Kind::pluck) x += 0.1 * amplitude_ * uniform_(rng_);
    phase_ += increment_;
    if (phase_ > 2.0 * M_PI) phase_ -= 2.0 * M_PI;
    if (kind_ == Kind::pluck) amplitude_ *= decay_;
    return x;
  }

 private:
  enum class Kind { silence, sine, noise, pluck };

  void startSegment() {
    static constexpr double kLevels[] = {1e-6, 0.01, 0.1, 0.3, 1.0, 10.0};
    std::uniform_int_distribution<int> kind(0, 3), level(0, 5);
    std::uniform_real_distribution<double> seconds(0.05, 2.0), frequency(40.0, 5000.0);
    kind_ = static_cast<Kind>(kind(rng_));
    amplitude_ = kLevels[level(rng_)];
    increment_ = 2.0 * M_PI * frequency(rng_) / kRate;
    decay_ = std::exp(-1.0 / (0.3 * kRate));
    remaining_ = static_cast<int64_t>(seconds(rng_) * kRate);
  }

  std::mt19937 rng_;
  std::uniform_real_distribution<double> uniform_{-1.0, 1.0};
  Kind kind_ = Kind::silence;
  int64_t remaining_ = 0;
  double amplitude_ = 0.0, phase_ = 0.0, increment_ = 0.0, decay_ = 1.0;
};

// One seed fixes everything a host does: block lengths (mostly 64 .. 1024,
// sometimes 1 or up to 4096), a knob move, toggle or program switch every
// 1 .. 8 blocks, and the input signal.
class HostScript {
 public:
  explicit HostScript(uint32_t seed) : rng_(seed), signal_(seed + 1) {}

  // Applies the automation due before the next block, then fills `in` with it.
  void nextBlock(const Instance& fx, std::vector<double>& in) {
    if (--untilAutomation_ <= 0) {
      automate(fx);
      untilAutomation_ = std::uniform_int_distribution<int>(1, 8)(rng_);
    }
    in.resize(static_cast<size_t>(blockLength()));
    for (double& x : in) x = signal_.next();
  }

 private:
  int32_t blockLength() {
    const int shape = std::uniform_int_distribution<int>(0, 19)(rng_);
    if (shape == 0) return 1;
    if (shape == 1) return std::uniform_int_distribution<int32_t>(1024, 4096)(rng_);
    return std::uniform_int_distribution<int32_t>(64, 1024)(rng_);
  }

  void automate(const Instance& fx) {
    const int what = std::uniform_int_distribution<int>(0, 9)(rng_);
    if (what < 6) {
      fx.setParameter(1 + what % 3, std::uniform_real_distribution<float>(0.0f, 1.0f)(rng_));
    } else if (what < 9) {
      on_ = !on_;
      fx.setParameter(0, on_ ? 1.0f : 0.0f);
    } else {
      fx.setProgramLong(std::uniform_int_distribution<long>(0, 15)(rng_));
    }
  }

  std::mt19937 rng_;
  SegmentedSignal signal_;
  int untilAutomation_ = 0;
  bool on_ = true;
};

size_t hashSamples(const double* samples, size_t n) {  // of the sample bytes
  return std::hash<std::string_view>{}(
      {reinterpret_cast<const char*>(samples), n * sizeof(double)});
}

struct SoakResult {
  std::vector<size_t> blockHashes;
  int64_t samples = 0;
  int64_t nonFinite = 0;
  int64_t aboveBound = 0;   // samples louder than both their input and kEffectPathBound
  double effectPeak = 0.0;  // loudest sample that is louder than its input
};

// Another instance that is opened, run at a changing rate and closed between
// the soaked instance's blocks.
class Disturber {
 public:
  explicit Disturber(const Module& module) : module_(module) {}

  void step(int64_t block) {
    static constexpr float kRates[] = {44100.0f, 96000.0f, 8000.0f, 192000.0f, 22050.0f};
    if (block % 97 == 0) fx_.reset();
    if (!fx_) fx_ = std::make_unique<Instance>(module_);
    if (block % 13 == 0) fx_->setSampleRate(kRates[(block / 13) % 5]);
    fx_->process(noise(0.5, 64, static_cast<uint32_t>(block)), {64});
  }

 private:
  const Module& module_;
  std::unique_ptr<Instance> fx_;
};

SoakResult soak(const Module& module, int64_t totalSamples, bool inPlace, bool disturbed) {
  Instance fx(module);
  fx.setSampleRate(static_cast<float>(kRate));
  HostScript script(2024);
  Disturber disturber(module);
  SoakResult result;
  std::vector<double> in, out;
  for (int64_t block = 0; result.samples < totalSamples; ++block) {
    script.nextBlock(fx, in);
    const auto n = static_cast<int32_t>(in.size());
    out = in;
    double* output = out.data();
    if (inPlace) {
      fx.processInPlace(output, n);
    } else {
      double* input = in.data();
      fx.record()->processDoubleReplacing(fx.record(), &input, &output, n);
    }
    for (int32_t i = 0; i < n; ++i) {
      const double magnitude = std::fabs(output[i]);
      if (!std::isfinite(magnitude)) ++result.nonFinite;
      if (magnitude > std::fabs(in[i])) result.effectPeak = std::max(result.effectPeak, magnitude);
      if (!withinOutputBound(in[i], output[i])) ++result.aboveBound;
    }
    result.blockHashes.push_back(hashSamples(output, in.size()));
    result.samples += n;
    if (disturbed) disturber.step(block);
  }
  return result;
}

TEST(Soak, AutomatedAudioStaysFiniteBoundedAndDeterministic) {
  const int64_t seconds = runLength(600, 20);
  Module module;
  const SoakResult first = soak(module, seconds * static_cast<int64_t>(kRate), false, false);
  const SoakResult second = soak(module, seconds * static_cast<int64_t>(kRate), true, true);

  EXPECT_EQ(first.nonFinite, 0);
  EXPECT_EQ(first.aboveBound, 0) << "effect path peak " << first.effectPeak;
  ASSERT_EQ(first.blockHashes.size(), second.blockHashes.size());
  const auto mismatch =
      std::mismatch(first.blockHashes.begin(), first.blockHashes.end(), second.blockHashes.begin());
  EXPECT_TRUE(mismatch.first == first.blockHashes.end())
      << "outputs differ from block " << (mismatch.first - first.blockHashes.begin());
  std::printf("soak: %lld samples (%lld s at 48 kHz) in %zu blocks, effect path peak %.3f\n",
              static_cast<long long>(first.samples), static_cast<long long>(seconds),
              first.blockHashes.size(), first.effectPeak);
}

}  // namespace
