// The clipping table is shared by every instance in the process: built by
// the first sample-rate setup, never rewritten with other values.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>

#include "effect/VELTRAX.h"

namespace {

TEST(SharedClippingTable, BuiltOnceAndOnlyRecordsLaterRates) {
  VELTRAX first(nullptr);
  first.setSampleRate(44100.0f);
  EXPECT_EQ(VELTRAX::clipSampleRate.load(), 44100.0);
  EXPECT_EQ(VELTRAX::clip.clipScale, 20000.0);
  const double e = std::exp(-0.0016 * 1250.0);
  EXPECT_EQ(VELTRAX::clip.clipTable[21250], (1.0 - e) / (1.0 + e));

  auto snapshot = std::make_unique<Clipper>();
  std::memcpy(static_cast<void*>(snapshot.get()), &VELTRAX::clip, sizeof(Clipper));

  VELTRAX same(nullptr), other(nullptr);
  same.setSampleRate(44100.0f);
  EXPECT_EQ(VELTRAX::clipSampleRate.load(), 44100.0);
  other.setSampleRate(48000.0f);
  EXPECT_EQ(VELTRAX::clipSampleRate.load(), 48000.0);
  other.setSampleRate(-1.0f);  // ignored: not a valid rate
  EXPECT_EQ(VELTRAX::clipSampleRate.load(), 48000.0);
  EXPECT_EQ(std::memcmp(snapshot.get(), &VELTRAX::clip, sizeof(Clipper)), 0);
}

}  // namespace
