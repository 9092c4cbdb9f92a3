#include "lv2_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

#include "host/plugin/EffectInstance.h"
#include "lv2/ControlMapping.h"
#include "lv2/PluginIdentity.h"
#include "lv2/Ports.h"
#include "support/ModuleHost.h"

namespace lv2test {

using veltrax::lv2host::InstanceOptions;
using veltrax::lv2host::Lv2Instance;
using veltrax::lv2host::Lv2World;
namespace lv2 = veltrax::lv2;

Lv2World& world() {
  static Lv2World instance(VELTRAX_LV2_PATH);
  return instance;
}

std::unique_ptr<Lv2Instance> makeInstance(double rate, uint32_t maxBlockLength,
                                          bool offerFeatures) {
  InstanceOptions options;
  options.sampleRate = rate;
  options.maxBlockLength = maxBlockLength;
  options.boundedBlockLength = maxBlockLength != 0;
  options.offerFeatures = offerFeatures;
  std::string error;
  auto instance = Lv2Instance::create(world(), lv2::kPluginUri, options, &error);
  EXPECT_NE(instance, nullptr) << error;
  return instance;
}

std::vector<Block> evenBlocks(size_t frames, uint32_t length) {
  std::vector<Block> plan;
  for (size_t done = 0; done < frames; done += length)
    plan.push_back({static_cast<uint32_t>(std::min<size_t>(length, frames - done)), {}});
  return plan;
}

std::vector<Block> varyingBlocks(size_t frames, uint32_t maxLength, uint32_t seed) {
  std::mt19937 random(seed);
  std::uniform_int_distribution<uint32_t> length(1, maxLength);
  const uint32_t firstLengths[] = {1, maxLength, 2, maxLength - 1};
  std::vector<Block> plan;
  for (size_t done = 0, b = 0; done < frames; ++b) {
    const uint32_t wanted = b < std::size(firstLengths) ? firstLengths[b] : length(random);
    const auto n = static_cast<uint32_t>(std::min<size_t>(std::max(wanted, 1u), frames - done));
    plan.push_back({n, {}});
    done += n;
  }
  return plan;
}

std::vector<float> renderLv2(Lv2Instance& instance, const std::vector<float>& input,
                             const std::vector<Block>& plan, bool inPlace) {
  std::vector<float> out(input.size());
  if (inPlace) out = input;
  size_t at = 0;
  for (const Block& block : plan) {
    for (const ControlChange& c : block.changes) EXPECT_TRUE(instance.setControl(c.symbol, c.dial));
    instance.run(inPlace ? out.data() + at : input.data() + at, out.data() + at, block.length);
    at += block.length;
  }
  return out;
}

namespace {

uint32_t portOfSymbol(const std::string& symbol) {
  for (uint32_t p = 0; p < lv2::kPortCount; ++p)
    if (symbol == lv2::kPortSymbols[p]) return p;
  ADD_FAILURE() << "no port " << symbol;
  return lv2::kPortEnabled;
}

}  // namespace

std::vector<float> renderModule(double rate, uint32_t maxBlockLength,
                                const std::vector<float>& input, const std::vector<Block>& plan) {
  static const auto module = veltrax::host::ModuleLibrary::open(VELTRAX_MODULE_PATH);
  const auto effect = veltrax::host::EffectInstance::create(module);
  effect->prepare(rate, static_cast<int32_t>(maxBlockLength));
  // The plug-in's port defaults: its volume dial and its trims.
  effect->setParameter(lv2::parameterOfPort(lv2::kPortVolume),
                       lv2::knobParameter(lv2::kVolumeDialDefault));
  const auto gainOf = [](float db) { return std::pow(10.0, db / 20.0); };
  double inputGain = gainOf(lv2::kInputTrimDefaultDb),
         outputGain = gainOf(lv2::kOutputTrimDefaultDb);
  std::vector<float> out(input.size());
  std::vector<double> buffer;
  size_t at = 0;
  for (const Block& block : plan) {
    for (const ControlChange& c : block.changes) {
      const uint32_t port = portOfSymbol(c.symbol);
      if (port == lv2::kPortInputTrim || port == lv2::kPortOutputTrim) {
        // Steady trims only: a trim set before the first block applies without a glide.
        EXPECT_EQ(at, 0u) << "the module comparison models no trim glide";
        (port == lv2::kPortInputTrim ? inputGain : outputGain) = gainOf(c.dial);
        continue;
      }
      effect->setParameter(lv2::parameterOfPort(port), lv2::parameterForPort(port, c.dial));
    }
    buffer.assign(input.begin() + at, input.begin() + at + block.length);
    for (double& x : buffer) x *= inputGain;
    effect->process(buffer.data(), buffer.data(), static_cast<int32_t>(block.length));
    std::transform(buffer.begin(), buffer.end(), out.begin() + at,
                   [&](double y) { return static_cast<float>(y * outputGain); });
    at += block.length;
  }
  return out;
}

std::vector<float> guitarLike(double rate, size_t frames) {
  const double notes[] = {82.41, 110.0, 146.83, 98.0};  // E2 A2 D3 G2
  const auto noteLength = static_cast<size_t>(0.25 * rate);
  const std::vector<double> hiss = testhost::noise(0.002, frames, 7);
  std::vector<float> out(frames);
  for (size_t i = 0; i < frames; ++i) {
    const double f = notes[(i / noteLength) % std::size(notes)];
    const double t = static_cast<double>(i % noteLength) / rate;
    const double pluck =
        std::exp(-6.0 * t) * (std::sin(2.0 * M_PI * f * t) + 0.4 * std::sin(4.0 * M_PI * f * t));
    out[i] = static_cast<float>(0.3 * pluck + hiss[i]);
  }
  return out;
}

long firstDifference(const std::vector<float>& a, const std::vector<float>& b) {
  if (a.size() != b.size()) return static_cast<long>(std::min(a.size(), b.size()));
  for (size_t i = 0; i < a.size(); ++i)
    if (std::memcmp(&a[i], &b[i], sizeof(float)) != 0) return static_cast<long>(i);
  return -1;
}

double rms(const std::vector<float>& x, size_t from, size_t to) {
  to = std::min(to, x.size());
  double sum = 0.0;
  for (size_t i = from; i < to; ++i) sum += static_cast<double>(x[i]) * x[i];
  return to > from ? std::sqrt(sum / static_cast<double>(to - from)) : 0.0;
}

}  // namespace lv2test
