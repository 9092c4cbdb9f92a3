// Speaker arrangements: allocated with exactly the channels asked (under the
// address sanitizer a short allocation shows up when the last speaker is
// touched), released and replaced, copied speaker by speaker with names cut
// to 63 characters.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "frame/AudioEffectX.h"

namespace {

struct SpeakerEffect : AudioEffectX {
  SpeakerEffect() : AudioEffectX(nullptr, 1, 1) {}
  void processReplacing(float**, float**, int32_t) override {}
};

// Every byte of the record set to `seed` (copySpeaker copies fields, so any
// pattern will do), then a name of `nameLength` characters (64: unterminated).
void fillSpeaker(VstSpeakerProperties* s, int seed, std::size_t nameLength) {
  std::memset(s, seed, sizeof(*s));
  std::memset(s->name, 0, sizeof(s->name));
  std::memset(s->name, 'a' + seed, nameLength);
}

// `to` equals `from` except that its name holds at most 63 characters, zero-filled behind.
void expectCopied(VstSpeakerProperties to, VstSpeakerProperties from) {
  std::memset(from.name + 63, 0, 1);
  EXPECT_EQ(std::memcmp(&to, &from, sizeof(to)), 0);
}

TEST(FrameSpeakerArrangement, AllocationReplacesAndFailureLeavesNull) {
  SpeakerEffect effect;
  VstSpeakerArrangement* arrangement = nullptr;
  ASSERT_TRUE(effect.allocateArrangement(&arrangement, 2));
  ASSERT_TRUE(effect.allocateArrangement(&arrangement, 9));  // the 2-channel array is released
  EXPECT_EQ(arrangement->type, 0);
  EXPECT_EQ(arrangement->numChannels, 9);
  const std::string zeros(9 * sizeof(VstSpeakerProperties), '\0');
  EXPECT_EQ(std::string(reinterpret_cast<char*>(speakerAt(arrangement, 0)), zeros.size()), zeros);
  EXPECT_FALSE(effect.allocateArrangement(&arrangement, -1));
  EXPECT_EQ(arrangement, nullptr);
  ASSERT_TRUE(effect.allocateArrangement(&arrangement, 1));
  EXPECT_TRUE(effect.deallocateArrangement(&arrangement));
  EXPECT_EQ(arrangement, nullptr);
  EXPECT_TRUE(effect.deallocateArrangement(&arrangement));
}

TEST(FrameSpeakerArrangement, CopySpeakerCutsTheNameAndCopiesEveryField) {
  SpeakerEffect effect;
  for (const std::size_t nameLength : {0, 5, 63, 64}) {
    VstSpeakerProperties from, to;
    fillSpeaker(&from, 3, nameLength);
    std::memset(&to, 'x', sizeof(to));
    ASSERT_TRUE(effect.copySpeaker(&to, &from));
    expectCopied(to, from);
  }
  VstSpeakerProperties s{};
  EXPECT_FALSE(effect.copySpeaker(nullptr, &s) || effect.copySpeaker(&s, nullptr));
}

TEST(FrameSpeakerArrangement, MatchArrangementReplacesTheTargetWithACopy) {
  struct Counting : SpeakerEffect {  // matching must go through the virtual copy
    int copies = 0;
    bool copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from) override {
      return ++copies != failAt && SpeakerEffect::copySpeaker(to, from);
    }
    int failAt = -1;
  } effect;
  VstSpeakerArrangement* from = nullptr;
  VstSpeakerArrangement* to = nullptr;
  ASSERT_TRUE(effect.allocateArrangement(&from, 6));
  from->type = 5;
  for (int i = 0; i < 6; ++i) fillSpeaker(speakerAt(from, i), i, i == 2 ? 64 : 10 + i);
  ASSERT_TRUE(effect.allocateArrangement(&to, 1));
  ASSERT_TRUE(effect.matchArrangement(&to, from));
  EXPECT_EQ(effect.copies, 6);
  EXPECT_EQ(to->type, 5);
  EXPECT_EQ(to->numChannels, 6);
  for (int i = 0; i < 6; ++i) expectCopied(*speakerAt(to, i), *speakerAt(from, i));
  EXPECT_FALSE(effect.matchArrangement(&to, nullptr));
  EXPECT_NE(to, nullptr);  // a refused match leaves the target alone
  effect.failAt = effect.copies + 3;
  EXPECT_FALSE(effect.matchArrangement(&to, from));  // stops at the failing copy
  EXPECT_EQ(effect.copies, effect.failAt);
  effect.deallocateArrangement(&to);
  effect.deallocateArrangement(&from);
}

}  // namespace
