#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "dsp/SwitchRecord.h"

namespace {

using Record = std::unique_ptr<SwitchRecord, void (*)(SwitchRecord*)>;

Record make(double sampleRate, float onOff) {
  return Record(createSwitchRecord(sampleRate, onOff), destroySwitchRecord);
}

struct Trace { std::vector<double> gain; std::vector<float> flag; };

// Runs `length` samples at value v in blocks of `block`, appending to trace.
void play(SwitchRecord& r, float v, int length, int block, Trace& trace) {
  std::vector<double> buffer(block);
  for (int done = 0; done < length; done += block) {
    const int n = std::min(block, length - done);
    ASSERT_TRUE(reservePathFlags(r, n));
    prepareSwitch(r, v, n, buffer.data());
    EXPECT_EQ(r.pathFlagsLength, n);
    trace.gain.insert(trace.gain.end(), buffer.begin(), buffer.begin() + n);
    trace.flag.insert(trace.flag.end(), r.pathFlags, r.pathFlags + n);
  }
}

}  // namespace

TEST(OnOffSwitch, ToggleFadesOldPathOutThenNewPathInAcrossBlocks) {
  struct Case { double rate; int n; };
  for (const Case c : {Case{44100, 705}, Case{48000, 768}}) {
    for (int block : {1, 64, 700, 4096}) {
      Record r = make(c.rate, 0.0f);
      ASSERT_EQ(r->fadeLength, c.n);
      Trace t;
      play(*r, 0.0f, 100, block, t);  // steady dry
      play(*r, 1.0f, 2 * c.n + 100, block, t);
      for (int i = 0; i < 100; ++i) ASSERT_TRUE(t.gain[i] == 1.0 && t.flag[i] == 0.0f);
      for (int j = 0; j < c.n; ++j) {
        ASSERT_EQ(t.gain[100 + j], (c.n - j) * (1.0 / c.n)) << block;  // 1 .. 1/N on the dry path
        ASSERT_EQ(t.flag[100 + j], 0.0f);
        ASSERT_EQ(t.gain[100 + c.n + j], (1.0 / c.n) * j) << block;  // 0 .. (N-1)/N on the effect
        ASSERT_EQ(t.flag[100 + c.n + j], 1.0f);
      }
      for (int i = 100 + 2 * c.n; i < 200 + 2 * c.n; ++i) ASSERT_TRUE(t.gain[i] == 1.0 && t.flag[i] == 1.0f);
      EXPECT_EQ(r->fadePhase, 0);
    }
  }
}

TEST(OnOffSwitch, ChangeDuringAFadeKeepsThePosition) {
  Record r = make(44100, 1.0f);
  Trace t;
  play(*r, 0.0f, 300, 128, t);  // fading the effect path out
  EXPECT_EQ(t.flag[0], 1.0f);
  play(*r, 1.0f, 1, 1, t);      // back again: still phase 1 at position 300
  EXPECT_EQ(t.gain[300], (705 - 300) * (1.0 / 705));
  EXPECT_EQ(t.flag[300], 0.0f);
  play(*r, 1.0f, 404 + 705, 256, t);
  EXPECT_EQ(r->fadePhase, 0);
  EXPECT_EQ(t.gain[705], 0.0);  // the fade-in began right where the fade-out ended
  // 0.5 is not 1.0: after the effect path fades out, the dry path fades in.
  play(*r, 0.5f, 2 * 705 + 100, 512, t);
  EXPECT_EQ(std::count(t.flag.end() - 805, t.flag.end(), 0.5f), 805);
  EXPECT_EQ(std::count(t.flag.end() - 1510, t.flag.end() - 805, 1.0f), 705);
}

TEST(OnOffSwitch, CapacityGrowsOnlyAndEmptyBlocksChangeNothing) {
  Record r = make(48000, 0.0f);
  EXPECT_EQ(r->pathFlags, nullptr);
  ASSERT_TRUE(reservePathFlags(*r, 512));
  float* const flags = r->pathFlags;
  ASSERT_TRUE(reservePathFlags(*r, 64));
  EXPECT_EQ(r->pathFlags, flags);
  EXPECT_EQ(r->pathFlagsCapacity, 512);
  double unused = -1.0;
  prepareSwitch(*r, 1.0f, 0, &unused);
  EXPECT_EQ(r->fadePhase, 0);
  EXPECT_EQ(r->switchState, 0.0f);
  EXPECT_EQ(unused, -1.0);
}
