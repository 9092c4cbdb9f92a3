// Speaker arrangements: allocated as byte arrays of exactly 8 + n * 112 bytes,
// released and replaced, copied speaker by speaker with names cut to 63
// characters.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "frame/AudioEffectX.h"

// Array allocations of this test binary go through here so that the tests
// can see the byte size an arrangement asks for.
namespace {
bool recordSizes = false;
std::size_t lastArraySize = 0;

void* allocateArray(std::size_t size) {
  if (recordSizes) lastArraySize = size;
  return std::malloc(size == 0 ? 1 : size);
}
}  // namespace

void* operator new[](std::size_t size) {
  void* p = allocateArray(size);
  if (p == nullptr) throw std::bad_alloc();
  return p;
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocateArray(size); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }

namespace {

class SpeakerEffect : public AudioEffectX {
 public:
  SpeakerEffect() : AudioEffectX(nullptr, 1, 1) {}
  void processReplacing(float**, float**, int32_t) override {}
};

bool allZero(const void* memory, std::size_t bytes) {
  const unsigned char* p = static_cast<const unsigned char*>(memory);
  for (std::size_t i = 0; i < bytes; ++i) {
    if (p[i] != 0) return false;
  }
  return true;
}

TEST(FrameSpeakerArrangement, AllocatesExactlyTheChannelsAsked) {
  SpeakerEffect effect;
  for (const int32_t channels : {0, 1, 6, 9}) {
    VstSpeakerArrangement* arrangement = nullptr;
    recordSizes = true;
    ASSERT_TRUE(effect.allocateArrangement(&arrangement, channels));
    recordSizes = false;
    EXPECT_EQ(lastArraySize, 8u + static_cast<std::size_t>(channels) * 112u);
    ASSERT_NE(arrangement, nullptr);
    EXPECT_EQ(arrangement->type, 0);
    EXPECT_EQ(arrangement->numChannels, channels);
    EXPECT_TRUE(allZero(speakerAt(arrangement, 0), static_cast<std::size_t>(channels) * 112u));
    EXPECT_TRUE(effect.deallocateArrangement(&arrangement));
    EXPECT_EQ(arrangement, nullptr);
  }
  VstSpeakerArrangement* none = nullptr;
  EXPECT_TRUE(effect.deallocateArrangement(&none));
}

// Under the leak checker these also prove the old array is released.
TEST(FrameSpeakerArrangement, ReallocationReleasesTheOldArrayAndFailureLeavesNull) {
  SpeakerEffect effect;
  VstSpeakerArrangement* arrangement = nullptr;
  ASSERT_TRUE(effect.allocateArrangement(&arrangement, 2));
  ASSERT_TRUE(effect.allocateArrangement(&arrangement, 4));
  EXPECT_EQ(arrangement->numChannels, 4);
  EXPECT_FALSE(effect.allocateArrangement(&arrangement, -1));
  EXPECT_EQ(arrangement, nullptr);
}

void fillSpeaker(VstSpeakerProperties* s, int seed, std::size_t nameLength) {
  std::memset(s, 0, sizeof(*s));
  s->azimuth = 0.5f * seed;
  s->elevation = -0.25f * seed;
  s->radius = 1.0f + seed;
  s->reserved = 3.0f * seed;
  std::memset(s->name, 'a' + seed, nameLength < 64 ? nameLength : 64);  // 64: no terminator
  s->type = 100 + seed;
  for (std::size_t i = 0; i < sizeof(s->future); ++i) s->future[i] = static_cast<char>(seed + i);
}

void expectCopied(const VstSpeakerProperties& to, const VstSpeakerProperties& from) {
  EXPECT_EQ(to.azimuth, from.azimuth);
  EXPECT_EQ(to.elevation, from.elevation);
  EXPECT_EQ(to.radius, from.radius);
  EXPECT_EQ(to.reserved, from.reserved);
  EXPECT_EQ(to.type, from.type);
  EXPECT_EQ(std::memcmp(to.future, from.future, sizeof(to.future)), 0);
  EXPECT_EQ(std::string(to.name), std::string(from.name, strnlen(from.name, 63)));
  EXPECT_EQ(to.name[63], 0);
}

TEST(FrameSpeakerArrangement, CopySpeakerCutsTheNameAndCopiesEveryField) {
  SpeakerEffect effect;
  for (const std::size_t nameLength : {0u, 5u, 63u, 64u}) {
    VstSpeakerProperties from;
    VstSpeakerProperties to;
    fillSpeaker(&from, 3, nameLength);
    std::memset(&to, 'x', sizeof(to));
    ASSERT_TRUE(effect.copySpeaker(&to, &from));
    expectCopied(to, from);
    for (std::size_t i = std::min<std::size_t>(nameLength, 63); i < 64; ++i) EXPECT_EQ(to.name[i], 0);
  }
  VstSpeakerProperties s{};
  EXPECT_FALSE(effect.copySpeaker(nullptr, &s));
  EXPECT_FALSE(effect.copySpeaker(&s, nullptr));
}

TEST(FrameSpeakerArrangement, MatchArrangementReplacesTheTargetWithACopy) {
  SpeakerEffect effect;
  VstSpeakerArrangement* from = nullptr;
  ASSERT_TRUE(effect.allocateArrangement(&from, 6));
  from->type = 5;
  for (int i = 0; i < 6; ++i) fillSpeaker(speakerAt(from, i), i, i == 2 ? 64 : 10 + i);

  VstSpeakerArrangement* to = nullptr;
  ASSERT_TRUE(effect.allocateArrangement(&to, 1));
  recordSizes = true;
  ASSERT_TRUE(effect.matchArrangement(&to, from));
  recordSizes = false;
  EXPECT_EQ(lastArraySize, 8u + 6u * 112u);
  EXPECT_EQ(to->type, 5);
  EXPECT_EQ(to->numChannels, 6);
  for (int i = 0; i < 6; ++i) expectCopied(*speakerAt(to, i), *speakerAt(from, i));

  EXPECT_FALSE(effect.matchArrangement(&to, nullptr));
  EXPECT_NE(to, nullptr);  // a refused match leaves the target alone
  effect.deallocateArrangement(&to);
  effect.deallocateArrangement(&from);
}

TEST(FrameSpeakerArrangement, MatchArrangementGoesThroughTheVirtualOperations) {
  struct Counting : SpeakerEffect {
    int copies = 0;
    bool copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from) override {
      ++copies;
      return copies < 3 && SpeakerEffect::copySpeaker(to, from);
    }
  } effect;
  VstSpeakerArrangement* from = nullptr;
  VstSpeakerArrangement* to = nullptr;
  ASSERT_TRUE(effect.allocateArrangement(&from, 5));
  EXPECT_FALSE(effect.matchArrangement(&to, from));  // the third copy fails
  EXPECT_EQ(effect.copies, 3);
  effect.deallocateArrangement(&to);
  effect.deallocateArrangement(&from);
}

}  // namespace
