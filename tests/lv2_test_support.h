// Shared pieces of the LV2 tests: the lilv world on the build's bundle, test
// signals, and one block plan run two ways — through the LV2 plug-in, and
// through the module driven directly as a plug-in host drives it, with the
// parameter values the plug-in derives from its ports.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "lv2/testhost/Lv2TestHost.h"

namespace lv2test {

// The world of every LV2 test: the build's bundle plus Debian's LV2 vocabulary.
veltrax::lv2host::Lv2World& world();

// A new instance of the plug-in; fails the test (and returns null) if none.
std::unique_ptr<veltrax::lv2host::Lv2Instance> makeInstance(double rate, uint32_t maxBlockLength,
                                                            bool offerFeatures = true);

struct ControlChange {
  std::string symbol;
  float dial;  // the port value
};

// One run() of `length` frames, after setting `changes` on the control ports.
struct Block {
  uint32_t length;
  std::vector<ControlChange> changes;
};

// Blocks of `length` frames covering `frames`.
std::vector<Block> evenBlocks(size_t frames, uint32_t length);
// Blocks of pseudo-random lengths in 1..maxLength covering `frames`; the first
// ones are 1, maxLength, 2 and maxLength - 1.
std::vector<Block> varyingBlocks(size_t frames, uint32_t maxLength, uint32_t seed);

// Through an activated LV2 instance; with `inPlace` the host hands the plug-in
// one buffer as both input and output.
std::vector<float> renderLv2(veltrax::lv2host::Lv2Instance& instance,
                             const std::vector<float>& input, const std::vector<Block>& plan,
                             bool inPlace = false);
// Through the module: open, rate, block size, resume, the plug-in's port
// defaults, then per block the parameter changes and one double-precision
// process call between the input and output trim gains (10^(dB/20), changed
// only before the first block).
std::vector<float> renderModule(double rate, uint32_t maxBlockLength,
                                const std::vector<float>& input, const std::vector<Block>& plan);

// Test signals, single precision like LV2 audio ports.
std::vector<float> guitarLike(double rate, size_t frames);  // decaying notes over low noise

// Index of the first sample where the two differ bit for bit, or -1.
long firstDifference(const std::vector<float>& a, const std::vector<float>& b);
double rms(const std::vector<float>& x, size_t from = 0, size_t to = SIZE_MAX);

}  // namespace lv2test
