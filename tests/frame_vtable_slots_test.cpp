// The virtual-table layout is a binary contract: hosts of the extension call
// operations by slot number. These tests pin every operation's slot and call
// a set of slots by number, as such a host does.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "VtableCall.h"
#include "frame/QTypeBase.h"

namespace {

class ExtensionEffect : public Q_TypeBase {
 public:
  ExtensionEffect() : Q_TypeBase(nullptr, 16, 4) {}
  void processReplacing(float**, float**, int32_t) override {}
  double lowVolume() const { return volumeRangeLow; }
  int32_t version() const { return headerVersion; }
};

using AE = AudioEffect;
using AX = AudioEffectX;
using QB = Q_TypeBase;

// Every operation after the two destructor slots, in declaration order:
// slot 2 (dispatcher) to slot 163 (setTime), with no gaps.
TEST(FrameVtableSlots, EveryOperationSitsInItsContractSlot) {
  const std::vector<std::size_t> slots = {
      slotOf(&AE::dispatcher), slotOf(&AE::open), slotOf(&AE::close), slotOf(&AE::suspend),
      slotOf(&AE::resume), slotOf(&AE::setSampleRate), slotOf(&AE::setBlockSize),
      slotOf(&AE::processReplacing), slotOf(&AE::processDoubleReplacing), slotOf(&AE::setParameter),
      slotOf(&AE::getParameter), slotOf(&AE::setParameterAutomated), slotOf(&AE::getProgram),
      slotOf(&AE::setProgram), slotOf(&AE::setProgramName), slotOf(&AE::getProgramName),
      slotOf(&AE::getParameterLabel), slotOf(&AE::getParameterDisplay), slotOf(&AE::getParameterName),
      slotOf(&AE::getChunk), slotOf(&AE::setChunk), slotOf(&AE::setUniqueID), slotOf(&AE::setNumInputs),
      slotOf(&AE::setNumOutputs), slotOf(&AE::canProcessReplacing), slotOf(&AE::canDoubleReplacing),
      slotOf(&AE::programsAreChunks), slotOf(&AE::setInitialDelay), slotOf(&AE::getEditor),
      slotOf(&AE::getAeffect), slotOf(&AE::getSampleRate), slotOf(&AE::getBlockSize),
      slotOf(&AE::getMasterVersion), slotOf(&AE::getCurrentUniqueId), slotOf(&AE::masterIdle),
      slotOf(&AE::isInputConnected), slotOf(&AE::isOutputConnected), slotOf(&AE::dB2string),
      slotOf(&AE::Hz2string), slotOf(&AE::ms2string), slotOf(&AE::float2string), slotOf(&AE::int2string),
      slotOf(&AE::__processDeprecated), slotOf(&AE::__getVuDeprecated), slotOf(&AE::__hasVuDeprecated),
      slotOf(&AE::__hasClipDeprecated), slotOf(&AE::__canMonoDeprecated),
      slotOf(&AE::__setRealtimeQualitiesDeprecated), slotOf(&AE::__setOfflineQualitiesDeprecated),
      // AudioEffectX, from slot 51.
      slotOf(&AX::canParameterBeAutomated), slotOf(&AX::string2parameter),
      slotOf(&AX::getParameterProperties), slotOf(&AX::beginEdit), slotOf(&AX::endEdit),
      slotOf(&AX::getProgramNameIndexed), slotOf(&AX::beginSetProgram), slotOf(&AX::endSetProgram),
      slotOf(&AX::beginLoadBank), slotOf(&AX::beginLoadProgram), slotOf(&AX::ioChanged),
      slotOf(&AX::updateSampleRate), slotOf(&AX::updateBlockSize), slotOf(&AX::getInputLatency),
      slotOf(&AX::getOutputLatency), slotOf(&AX::getInputProperties), slotOf(&AX::getOutputProperties),
      slotOf(&AX::setSpeakerArrangement), slotOf(&AX::getSpeakerArrangement), slotOf(&AX::setBypass),
      slotOf(&AX::setPanLaw), slotOf(&AX::setProcessPrecision), slotOf(&AX::getNumMidiInputChannels),
      slotOf(&AX::getNumMidiOutputChannels), slotOf(&AX::getTimeInfo), slotOf(&AX::getCurrentProcessLevel),
      slotOf(&AX::getAutomationState), slotOf(&AX::processEvents), slotOf(&AX::startProcess),
      slotOf(&AX::stopProcess), slotOf(&AX::processVariableIo), slotOf(&AX::setTotalSampleToProcess),
      slotOf(&AX::getHostVendorString), slotOf(&AX::getHostProductString), slotOf(&AX::getHostVendorVersion),
      slotOf(&AX::hostVendorSpecific), slotOf(&AX::canHostDo), slotOf(&AX::getHostLanguage),
      slotOf(&AX::isSynth), slotOf(&AX::noTail), slotOf(&AX::getGetTailSize), slotOf(&AX::getDirectory),
      slotOf(&AX::getEffectName), slotOf(&AX::getVendorString), slotOf(&AX::getProductString),
      slotOf(&AX::getVendorVersion), slotOf(&AX::vendorSpecific), slotOf(&AX::canDo),
      slotOf(&AX::getVstVersion), slotOf(&AX::getPlugCategory), slotOf(&AX::getMidiProgramName),
      slotOf(&AX::getCurrentMidiProgram), slotOf(&AX::getMidiProgramCategory),
      slotOf(&AX::hasMidiProgramsChanged), slotOf(&AX::getMidiKeyName), slotOf(&AX::updateDisplay),
      slotOf(&AX::sizeWindow), slotOf(&AX::openFileSelector), slotOf(&AX::closeFileSelector),
      slotOf(&AX::getNextShellPlugin), slotOf(&AX::allocateArrangement), slotOf(&AX::deallocateArrangement),
      slotOf(&AX::copySpeaker), slotOf(&AX::matchArrangement), slotOf(&AX::offlineRead),
      slotOf(&AX::offlineWrite), slotOf(&AX::offlineStart), slotOf(&AX::offlineGetCurrentPass),
      slotOf(&AX::offlineGetCurrentMetaPass), slotOf(&AX::offlineNotify), slotOf(&AX::offlinePrepare),
      slotOf(&AX::offlineRun), slotOf(&AX::offlineGetNumPasses), slotOf(&AX::offlineGetNumMetaPasses),
      slotOf(&AX::__wantEventsDeprecated), slotOf(&AX::__tempoAtDeprecated),
      slotOf(&AX::__getNumAutomatableParametersDeprecated), slotOf(&AX::__getParameterQuantizationDeprecated),
      slotOf(&AX::__getNumCategoriesDeprecated), slotOf(&AX::__copyProgramDeprecated),
      slotOf(&AX::__needIdleDeprecated), slotOf(&AX::__getPreviousPlugDeprecated),
      slotOf(&AX::__getNextPlugDeprecated), slotOf(&AX::__inputConnectedDeprecated),
      slotOf(&AX::__outputConnectedDeprecated), slotOf(&AX::__willProcessReplacingDeprecated),
      slotOf(&AX::__wantAsyncOperationDeprecated), slotOf(&AX::__hasExternalBufferDeprecated),
      slotOf(&AX::__reportCurrentPositionDeprecated), slotOf(&AX::__reportDestinationBufferDeprecated),
      slotOf(&AX::__setOutputSamplerateDeprecated), slotOf(&AX::__getInputSpeakerArrangementDeprecated),
      slotOf(&AX::__getOutputSpeakerArrangementDeprecated), slotOf(&AX::__openWindowDeprecated),
      slotOf(&AX::__closeWindowDeprecated), slotOf(&AX::__setBlockSizeAndSampleRateDeprecated),
      slotOf(&AX::__getErrorTextDeprecated), slotOf(&AX::__getIconDeprecated),
      slotOf(&AX::__setViewPositionDeprecated), slotOf(&AX::__fxIdleDeprecated),
      slotOf(&AX::__keysRequiredDeprecated), slotOf(&AX::__getChunkFileDeprecated),
      // Q_TypeBase, from slot 153.
      slotOf(&QB::getNumOfInJacks), slotOf(&QB::getNumOfOutJacks), slotOf(&QB::getNumOfInSig),
      slotOf(&QB::getNumOfOutSig), slotOf(&QB::getStartNumInSig), slotOf(&QB::getStartNumOutSig),
      slotOf(&QB::getDryInSigNum), slotOf(&QB::setListner), slotOf(&QB::getParameterDisplayOf),
      slotOf(&QB::getHeaderVersion), slotOf(&QB::setTime),
  };
  ASSERT_EQ(slots.size(), 162u);
  for (std::size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(slots[i], i + 2) << "operation #" << i;
}

TEST(FrameVtableSlots, ExtensionSlotsAnswerTheBaseDefaults) {
  ExtensionEffect effect;
  void* object = static_cast<AudioEffect*>(&effect);
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 153), 1);                 // getNumOfInJacks
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 154), 1);                 // getNumOfOutJacks
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 155, int32_t(0)), 2);     // getNumOfInSig
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 156, int32_t(0)), 1);     // getNumOfOutSig
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 157, int32_t(0)), 0);     // getStartNumInSig
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 158, int32_t(0)), 0);     // getStartNumOutSig
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 159), -1);                // getDryInSigNum
  callVirtualSlot<void>(object, 160, static_cast<Q_VstListner*>(nullptr));  // setListner
  char text[16];
  std::memset(text, '#', sizeof(text));
  callVirtualSlot<void>(object, 161, int32_t(0), 0.5f, text);          // getParameterDisplayOf
  for (const char c : text) EXPECT_EQ(c, '#');
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 162), 1);                 // getHeaderVersion
  callVirtualSlot<void>(object, 163, -1.0f);                           // setTime
  EXPECT_EQ(effect.lowVolume(), 0.0);
  EXPECT_EQ(effect.version(), 1);
}

TEST(FrameVtableSlots, CallsByNumberReachTheNamedOperations) {
  ExtensionEffect effect;
  void* object = static_cast<AudioEffect*>(&effect);
  EXPECT_EQ(callVirtualSlot<intptr_t>(object, 2, int32_t(effGetVstVersion), int32_t(0), intptr_t(0),
                                      static_cast<void*>(nullptr), 0.0f),
            2400);                                                       // dispatcher
  callVirtualSlot<void>(object, 7, 48000.0f);                            // setSampleRate
  EXPECT_EQ(callVirtualSlot<float>(object, 32), 48000.0f);              // getSampleRate
  callVirtualSlot<void>(object, 15, int32_t(9));                         // setProgram
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 14), 9);                   // getProgram
  EXPECT_EQ(callVirtualSlot<AEffect*>(object, 31), effect.getAeffect());  // getAeffect
  char text[16];
  callVirtualSlot<void>(object, 42, 0.5f, text, int32_t(8));            // float2string
  EXPECT_STREQ(text, " 0.50");
  callVirtualSlot<void>(object, 43, int32_t(-42), text, int32_t(8));    // int2string
  EXPECT_STREQ(text, "-42");
  EXPECT_TRUE(callVirtualSlot<bool>(object, 51, int32_t(0)));           // canParameterBeAutomated
  EXPECT_EQ(callVirtualSlot<float>(object, 62), 44100.0f);              // updateSampleRate
  callVirtualSlot<void>(object, 89, true);                               // isSynth
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 100), 2);                  // getPlugCategory
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 99), 2400);                // getVstVersion
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 102, int32_t(0), static_cast<void*>(nullptr)), -1);  // getCurrentMidiProgram
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 129), 1);                  // __getNumCategoriesDeprecated
  callVirtualSlot<void>(object, 146, int32_t(512), 22050.0f);            // __setBlockSizeAndSampleRateDeprecated
  EXPECT_EQ(callVirtualSlot<int32_t>(object, 33), 512);                 // getBlockSize
  EXPECT_FALSE(callVirtualSlot<bool>(object, 152, static_cast<void*>(nullptr)));  // __getChunkFileDeprecated
}

}  // namespace
