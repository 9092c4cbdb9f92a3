// Hosts of the extension call operations by slot number. Calling slots by
// number must reach the named operations: all eleven extension slots, and a
// spread of the others so that an inserted, dropped or moved declaration
// anywhere before them shows up.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "VtableCall.h"
#include "frame/QTypeBase.h"

namespace {

struct ExtensionEffect : Q_TypeBase {
  ExtensionEffect() : Q_TypeBase(nullptr, 16, 4) {}
  void processReplacing(float**, float**, int32_t) override {}
  double lowVolume() const { return volumeRangeLow; }
};

TEST(FrameVtableSlots, ExtensionSlotsAnswerTheBaseDefaults) {
  ExtensionEffect effect;
  void* object = static_cast<AudioEffect*>(&effect);
  const int32_t jack = 0;
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 153), 1);        // getNumOfInJacks
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 154), 1);        // getNumOfOutJacks
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 155, jack), 2);  // getNumOfInSig
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 156, jack), 1);  // getNumOfOutSig
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 157, jack), 0);  // getStartNumInSig
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 158, jack), 0);  // getStartNumOutSig
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 159), -1);       // getDryInSigNum
  callVirtualSlot<void>(object, 160, static_cast<Q_VstListner*>(nullptr));  // setListner
  char text[16];
  std::memset(text, '#', sizeof(text));
  callVirtualSlot<void>(object, 161, jack, 0.5f, text);       // getParameterDisplayOf
  EXPECT_EQ(std::string(text, sizeof(text)), std::string(sizeof(text), '#'));
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 162), 1);        // getHeaderVersion
  callVirtualSlot<void>(object, 163, -1.0f);                  // setTime
  EXPECT_EQ(effect.lowVolume(), 0.0);
}

TEST(FrameVtableSlots, CallsByNumberReachTheNamedOperations) {
  ExtensionEffect effect;
  void* object = static_cast<AudioEffect*>(&effect);
  EXPECT_EQ(callVirtualSlot<intptr_t>(object, 2, int32_t(effGetVstVersion), int32_t(0), intptr_t(0),
                                      static_cast<void*>(nullptr), 0.0f), 2400);  // dispatcher
  callVirtualSlot<void>(object, 7, 48000.0f);                          // setSampleRate
  EXPECT_EQ(callVirtualSlot<float>(object, 32), 48000.0f);            // getSampleRate
  callVirtualSlot<void>(object, 15, int32_t(9));                       // setProgram
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 14), 9);                 // getProgram
  char text[16];
  callVirtualSlot<void>(object, 43, int32_t(-42), text, int32_t(8));  // int2string
  EXPECT_STREQ(text, "-42");
  EXPECT_EQ(callVirtualSlot<float>(object, 62), 44100.0f);            // updateSampleRate
  callVirtualSlot<void>(object, 89, true);                             // isSynth
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 100), 2);                // getPlugCategory
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 102, int32_t(0), static_cast<void*>(nullptr)),
            -1);                                                       // getCurrentMidiProgram
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 129), 1);                // __getNumCategoriesDeprecated
  callVirtualSlot<void>(object, 146, int32_t(512), 22050.0f);          // __setBlockSizeAndSampleRateDeprecated
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 33), 512);               // getBlockSize
  EXPECT_FALSE(callVirtualSlot<bool>(object, 152, static_cast<void*>(nullptr)));  // __getChunkFileDeprecated
}

}  // namespace
