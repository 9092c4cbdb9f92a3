#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "dsp/SwitchRecord.h"

namespace {

struct Trace { std::vector<double> gain; std::vector<float> flag; };

// Runs `length` samples at On/Off value v, in blocks whose sizes cycle through `blocks`.
void play(SwitchRecord& r, float v, int length, std::vector<int> blocks, Trace& t) {
  std::vector<double> buffer(4096);
  for (int done = 0, b = 0, n; done < length; done += n, ++b) {
    n = std::min(blocks[b % blocks.size()], length - done);
    ASSERT_TRUE(reservePathFlags(r, n));
    prepareSwitch(r, v, n, buffer.data());
    t.gain.insert(t.gain.end(), buffer.begin(), buffer.begin() + n);
    t.flag.insert(t.flag.end(), r.pathFlags, r.pathFlags + n);
  }
}

}  // namespace

TEST(OnOffSwitch, ToggleFadesOldPathOutThenNewPathInWhateverTheBlocks) {
  for (const int rate : {44100, 48000}) {
    const int N = rate == 44100 ? 705 : 768;
    Trace single, mixed;  // one sample per block vs. blocks growing and shrinking
    for (std::vector<int> blocks : {std::vector<int>{1}, std::vector<int>{700, 1, 64, 4096}}) {
      SwitchRecord* r = createSwitchRecord(rate, 0.0f);
      play(*r, 0.0f, 100, blocks, blocks.size() == 1 ? single : mixed);
      play(*r, 1.0f, 2 * N + 100, blocks, blocks.size() == 1 ? single : mixed);
      destroySwitchRecord(r);
    }
    EXPECT_TRUE(single.gain == mixed.gain && single.flag == mixed.flag);
    for (int i = 0; i < 2 * N + 200; ++i) {
      const int j = (i - 100) % N;
      const double gain = i < 100 || i >= 100 + 2 * N ? 1.0 : i < 100 + N ? (N - j) * (1.0 / N) : (1.0 / N) * j;
      ASSERT_TRUE(single.gain[i] == gain && single.flag[i] == (i < 100 + N ? 0.0f : 1.0f)) << rate << " at " << i;
    }
  }
}

TEST(OnOffSwitch, ChangeDuringAFadeKeepsThePosition) {
  SwitchRecord* r = createSwitchRecord(44100, 1.0f);
  Trace t;
  play(*r, 0.0f, 300, {128}, t);        // the effect path fades out
  play(*r, 1.0f, 405 + 705, {256}, t);  // back at once: the fade-out goes on from 300
  EXPECT_EQ(t.gain[300], (705 - 300) * (1.0 / 705));
  EXPECT_TRUE(t.flag[299] == 1.0f && t.flag[300] == 0.0f);  // the fading flag follows the new value
  EXPECT_TRUE(t.gain[705] == 0.0 && t.flag[705] == 1.0f && r->fadePhase == 0);
  play(*r, 0.5f, 2 * 705, {512}, t);  // 0.5 is not 1.0: the dry path fades in
  EXPECT_EQ(t.flag.back(), 0.5f);
  destroySwitchRecord(r);
}
