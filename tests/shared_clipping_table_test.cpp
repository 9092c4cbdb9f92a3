// The clipping table is shared by every instance in the process: built by
// the first sample-rate setup, never rewritten with other values.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "effect/VELTRAX.h"

namespace {

TEST(SharedClippingTable, BuiltOnceAndOnlyRecordsLaterRates) {
  auto built = std::make_unique<Clipper>();
  built->build();
  const auto sameAsBuilt = [&] {
    return std::memcmp(static_cast<void*>(built.get()), &VELTRAX::clip, sizeof(Clipper)) == 0;
  };
  EXPECT_FALSE(sameAsBuilt());
  VELTRAX first(nullptr);
  first.setSampleRate(44100.0f);
  EXPECT_EQ(VELTRAX::clipSampleRate.load(), 44100.0);
  EXPECT_TRUE(sameAsBuilt());

  VELTRAX same(nullptr), other(nullptr);
  same.setSampleRate(44100.0f);
  EXPECT_EQ(VELTRAX::clipSampleRate.load(), 44100.0);
  other.setSampleRate(48000.0f);
  EXPECT_EQ(VELTRAX::clipSampleRate.load(), 48000.0);
  other.setSampleRate(-1.0f);  // ignored: not a valid rate
  EXPECT_EQ(VELTRAX::clipSampleRate.load(), 48000.0);
  EXPECT_TRUE(sameAsBuilt());
}

}  // namespace
