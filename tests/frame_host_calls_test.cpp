// The operations that ask the host for something: the exact callback each
// makes (opcode, index, value, ptr, opt, this record), how the host's answer
// becomes the result, and what each does without a host callback.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "frame/AudioEffectX.h"

namespace {

struct HostCall {
  AEffect* effect;
  int32_t opcode;
  int32_t index;
  intptr_t value;
  void* ptr;
  float opt;
};

// The fake host: records every call and answers `answer`.
struct FakeHost {
  std::vector<HostCall> calls;
  intptr_t answer = 0;
};
FakeHost host;

intptr_t hostCallback(AEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                      float opt) {
  host.calls.push_back({effect, opcode, index, value, ptr, opt});
  return host.answer;
}

char buffer[64];
void* const P = buffer;

class Probe : public AudioEffectX {
 public:
  explicit Probe(audioMasterCallback callback) : AudioEffectX(callback, 16, 4) {}
  void processReplacing(float**, float**, int32_t) override {}
  void setParameter(int32_t index, float value) override {
    seenByHost = host.calls.size();
    lastIndex = index;
    lastValue = value;
  }
  int32_t canDo(char* text) override {
    lastCanDo = text;
    return canDoAnswer;
  }
  std::size_t seenByHost = 99;
  int32_t lastIndex = -1;
  float lastValue = -1.0f;
  std::string lastCanDo;
  int32_t canDoAnswer = 0;
};

enum class Rule {
  none,          // no result
  answer,        // the answer unchanged
  pointer,       // the answer as a pointer
  nonZero,       // 1 when the answer is non-zero
  exactlyOne,    // 1 only when the answer is 1
  isZero,        // 1 when the answer is 0 (pins: 0 means connected)
  answerOrOne,   // the answer, 1 when it is 0 (host version)
};

struct Wrapper {
  const char* name;
  intptr_t (*invoke)(Probe&);
  int32_t opcode;
  int32_t index;
  intptr_t value;
  void* ptr;
  float opt;
  Rule rule;
  intptr_t withoutHost;  // result when there is no callback at all
};

template <typename T>
intptr_t asInt(T* p) {
  return reinterpret_cast<intptr_t>(p);
}

const Wrapper wrappers[] = {
    {"setParameterAutomated", [](Probe& e) { e.setParameterAutomated(2, 0.75f); return intptr_t(0); }, 0, 2, 0, nullptr, 0.75f, Rule::none, 0},
    {"getMasterVersion", [](Probe& e) { return intptr_t(e.getMasterVersion()); }, 1, 0, 0, nullptr, 0, Rule::answerOrOne, 1},
    {"getCurrentUniqueId", [](Probe& e) { return intptr_t(e.getCurrentUniqueId()); }, 2, 0, 0, nullptr, 0, Rule::answer, 0},
    {"masterIdle", [](Probe& e) { e.masterIdle(); return intptr_t(0); }, 3, 0, 0, nullptr, 0, Rule::none, 0},
    {"isInputConnected", [](Probe& e) { return intptr_t(e.isInputConnected(4)); }, 4, 4, 0, nullptr, 0, Rule::isZero, 1},
    {"isOutputConnected", [](Probe& e) { return intptr_t(e.isOutputConnected(5)); }, 4, 5, 1, nullptr, 0, Rule::isZero, 1},
    {"__wantEventsDeprecated", [](Probe& e) { e.__wantEventsDeprecated(7); return intptr_t(0); }, 6, 0, 7, nullptr, 0, Rule::none, 0},
    {"getTimeInfo", [](Probe& e) { return asInt(e.getTimeInfo(9)); }, 7, 0, 9, nullptr, 0, Rule::pointer, 0},
    {"sendVstEventsToHost", [](Probe& e) { return intptr_t(e.sendVstEventsToHost(static_cast<VstEvents*>(P))); }, 8, 0, 0, P, 0, Rule::exactlyOne, 0},
    {"__tempoAtDeprecated", [](Probe& e) { return intptr_t(e.__tempoAtDeprecated(11)); }, 10, 0, 11, nullptr, 0, Rule::answer, 0},
    {"__getNumAutomatableParametersDeprecated", [](Probe& e) { return intptr_t(e.__getNumAutomatableParametersDeprecated()); }, 11, 0, 0, nullptr, 0, Rule::answer, 0},
    {"__getParameterQuantizationDeprecated", [](Probe& e) { return intptr_t(e.__getParameterQuantizationDeprecated()); }, 12, 0, 0, nullptr, 0, Rule::answer, 0},
    {"ioChanged", [](Probe& e) { return intptr_t(e.ioChanged()); }, 13, 0, 0, nullptr, 0, Rule::nonZero, 0},
    {"__needIdleDeprecated", [](Probe& e) { return intptr_t(e.__needIdleDeprecated()); }, 14, 0, 0, nullptr, 0, Rule::nonZero, 0},
    {"sizeWindow", [](Probe& e) { return intptr_t(e.sizeWindow(640, 480)); }, 15, 640, 480, nullptr, 0, Rule::nonZero, 0},
    {"getInputLatency", [](Probe& e) { return intptr_t(e.getInputLatency()); }, 18, 0, 0, nullptr, 0, Rule::answer, 0},
    {"getOutputLatency", [](Probe& e) { return intptr_t(e.getOutputLatency()); }, 19, 0, 0, nullptr, 0, Rule::answer, 0},
    {"__getPreviousPlugDeprecated", [](Probe& e) { return asInt(e.__getPreviousPlugDeprecated(3)); }, 20, 0, 0, nullptr, 0, Rule::pointer, 0},
    {"__getNextPlugDeprecated", [](Probe& e) { return asInt(e.__getNextPlugDeprecated(3)); }, 21, 0, 0, nullptr, 0, Rule::pointer, 0},
    {"__willProcessReplacingDeprecated", [](Probe& e) { return intptr_t(e.__willProcessReplacingDeprecated()); }, 22, 0, 0, nullptr, 0, Rule::answer, 0},
    {"getCurrentProcessLevel", [](Probe& e) { return intptr_t(e.getCurrentProcessLevel()); }, 23, 0, 0, nullptr, 0, Rule::answer, 0},
    {"getAutomationState", [](Probe& e) { return intptr_t(e.getAutomationState()); }, 24, 0, 0, nullptr, 0, Rule::answer, 0},
    {"offlineStart", [](Probe& e) { return intptr_t(e.offlineStart(static_cast<VstAudioFile*>(P), 4, 6)); }, 25, 6, 4, P, 0, Rule::nonZero, 0},
    {"offlineRead", [](Probe& e) { return intptr_t(e.offlineRead(static_cast<VstOfflineTask*>(P), VstOfflineOption(3), true)); }, 26, 1, 3, P, 0, Rule::nonZero, 0},
    {"offlineWrite", [](Probe& e) { return intptr_t(e.offlineWrite(static_cast<VstOfflineTask*>(P), VstOfflineOption(3))); }, 27, 0, 3, P, 0, Rule::nonZero, 0},
    {"offlineGetCurrentPass", [](Probe& e) { return intptr_t(e.offlineGetCurrentPass()); }, 28, 0, 0, nullptr, 0, Rule::nonZero, 0},
    {"offlineGetCurrentMetaPass", [](Probe& e) { return intptr_t(e.offlineGetCurrentMetaPass()); }, 29, 0, 0, nullptr, 0, Rule::nonZero, 0},
    {"__setOutputSamplerateDeprecated", [](Probe& e) { e.__setOutputSamplerateDeprecated(48000.0f); return intptr_t(0); }, 30, 0, 0, nullptr, 48000.0f, Rule::none, 0},
    {"__getOutputSpeakerArrangementDeprecated", [](Probe& e) { return asInt(e.__getOutputSpeakerArrangementDeprecated()); }, 31, 0, 0, nullptr, 0, Rule::pointer, 0},
    {"getHostVendorString", [](Probe& e) { return intptr_t(e.getHostVendorString(buffer)); }, 32, 0, 0, P, 0, Rule::nonZero, 0},
    {"getHostProductString", [](Probe& e) { return intptr_t(e.getHostProductString(buffer)); }, 33, 0, 0, P, 0, Rule::nonZero, 0},
    {"getHostVendorVersion", [](Probe& e) { return intptr_t(e.getHostVendorVersion()); }, 34, 0, 0, nullptr, 0, Rule::answer, 0},
    {"hostVendorSpecific", [](Probe& e) { return e.hostVendorSpecific(3, 9, P, 0.5f); }, 35, 3, 9, P, 0.5f, Rule::answer, 0},
    {"canHostDo", [](Probe& e) { return intptr_t(e.canHostDo(buffer)); }, 37, 0, 0, P, 0, Rule::nonZero, 0},
    {"getHostLanguage", [](Probe& e) { return intptr_t(e.getHostLanguage()); }, 38, 0, 0, nullptr, 0, Rule::answer, 0},
    {"__openWindowDeprecated", [](Probe& e) { return asInt(e.__openWindowDeprecated(static_cast<__VstWindowDeprecated*>(P))); }, 39, 0, 0, P, 0, Rule::pointer, 0},
    {"__closeWindowDeprecated", [](Probe& e) { return intptr_t(e.__closeWindowDeprecated(static_cast<__VstWindowDeprecated*>(P))); }, 40, 0, 0, P, 0, Rule::nonZero, 0},
    {"getDirectory", [](Probe& e) { return asInt(e.getDirectory()); }, 41, 0, 0, nullptr, 0, Rule::pointer, 0},
    {"updateDisplay", [](Probe& e) { return intptr_t(e.updateDisplay()); }, 42, 0, 0, nullptr, 0, Rule::nonZero, 0},
    {"beginEdit", [](Probe& e) { return intptr_t(e.beginEdit(2)); }, 43, 2, 0, nullptr, 0, Rule::nonZero, 0},
    {"endEdit", [](Probe& e) { return intptr_t(e.endEdit(2)); }, 44, 2, 0, nullptr, 0, Rule::nonZero, 0},
    {"openFileSelector", [](Probe& e) { return intptr_t(e.openFileSelector(static_cast<VstFileSelect*>(P))); }, 45, 0, 0, P, 0, Rule::nonZero, 0},
    {"closeFileSelector", [](Probe& e) { return intptr_t(e.closeFileSelector(static_cast<VstFileSelect*>(P))); }, 46, 0, 0, P, 0, Rule::nonZero, 0},
    {"__getChunkFileDeprecated", [](Probe& e) { return intptr_t(e.__getChunkFileDeprecated(P)); }, 48, 0, 0, P, 0, Rule::nonZero, 0},
    {"__getInputSpeakerArrangementDeprecated", [](Probe& e) { return asInt(e.__getInputSpeakerArrangementDeprecated()); }, 49, 0, 0, nullptr, 0, Rule::pointer, 0},
};

intptr_t expectedResult(Rule rule, intptr_t answer) {
  switch (rule) {
    case Rule::answer:
    case Rule::pointer:
      return answer;
    case Rule::nonZero:
      return answer != 0 ? 1 : 0;
    case Rule::exactlyOne:
      return answer == 1 ? 1 : 0;
    case Rule::isZero:
      return answer == 0 ? 1 : 0;
    case Rule::answerOrOne:
      return answer != 0 ? answer : 1;
    case Rule::none:
      break;
  }
  return 0;
}

TEST(FrameHostCalls, EachWrapperMakesItsExactCallAndAppliesItsResultRule) {
  for (const Wrapper& w : wrappers) {
    for (const intptr_t answer : {0, 1, 2, -1}) {
      Probe effect(hostCallback);
      host = FakeHost{};
      host.answer = answer;
      const intptr_t result = w.invoke(effect);
      ASSERT_EQ(host.calls.size(), 1u) << w.name;
      const HostCall& c = host.calls[0];
      EXPECT_EQ(c.effect, effect.getAeffect()) << w.name;
      EXPECT_EQ(c.opcode, w.opcode) << w.name;
      EXPECT_EQ(c.index, w.index) << w.name;
      EXPECT_EQ(c.value, w.value) << w.name;
      EXPECT_EQ(c.ptr, w.ptr) << w.name;
      EXPECT_EQ(c.opt, w.opt) << w.name;
      if (w.rule != Rule::none) {
        EXPECT_EQ(result, expectedResult(w.rule, answer)) << w.name << " answer " << answer;
      }
    }
  }
}

TEST(FrameHostCalls, WithoutHostEveryWrapperFallsBack) {
  for (const Wrapper& w : wrappers) {
    Probe effect(nullptr);
    host = FakeHost{};
    const intptr_t result = w.invoke(effect);
    if (w.rule != Rule::none) {
      EXPECT_EQ(result, w.withoutHost) << w.name;
    }
  }
  Probe effect(nullptr);
  effect.setParameterAutomated(1, 0.5f);  // still stores the value
  EXPECT_EQ(effect.lastValue, 0.5f);
}

TEST(FrameHostCalls, NullSelectorsAndPathsAreRefusedWithoutAsking) {
  Probe effect(hostCallback);
  host = FakeHost{};
  host.answer = 1;
  EXPECT_FALSE(effect.openFileSelector(nullptr));
  EXPECT_FALSE(effect.closeFileSelector(nullptr));
  EXPECT_FALSE(effect.__getChunkFileDeprecated(nullptr));
  EXPECT_TRUE(host.calls.empty());
}

TEST(FrameHostCalls, AutomationStoresTheValueBeforeTellingTheHost) {
  Probe effect(hostCallback);
  host = FakeHost{};
  effect.setParameterAutomated(3, 0.125f);
  EXPECT_EQ(effect.seenByHost, 0u);  // no host call yet when setParameter ran
  EXPECT_EQ(effect.lastIndex, 3);
  EXPECT_EQ(effect.lastValue, 0.125f);
  EXPECT_EQ(host.calls.size(), 1u);
}

TEST(FrameHostCalls, SampleRateFromHostFallsBackTo44100NotToThePreviousRate) {
  const struct {
    audioMasterCallback callback;
    intptr_t answer;
    float rate;
  } rows[] = {
      {hostCallback, 48000, 48000.0f},
      {hostCallback, 0, 44100.0f},
      {hostCallback, -1, 44100.0f},
      {nullptr, 48000, 44100.0f},
  };
  for (const auto& r : rows) {
    Probe effect(r.callback);
    effect.setSampleRate(96000.0f);
    host = FakeHost{};
    host.answer = r.answer;
    EXPECT_EQ(effect.updateSampleRate(), r.rate) << "answer " << r.answer;
    EXPECT_EQ(effect.getSampleRate(), r.rate);
    if (r.callback != nullptr) {
      EXPECT_EQ(host.calls.at(0).opcode, audioMasterGetSampleRate);
    }
  }
}

TEST(FrameHostCalls, BlockSizeFromHostKeepsThePreviousSizeUnlessPositive) {
  const struct {
    audioMasterCallback callback;
    intptr_t answer;
    int32_t size;
  } rows[] = {
      {hostCallback, 512, 512},
      {hostCallback, 0, 256},
      {hostCallback, -1, 256},
      {nullptr, 512, 256},
  };
  for (const auto& r : rows) {
    Probe effect(r.callback);
    effect.setBlockSize(256);
    host = FakeHost{};
    host.answer = r.answer;
    EXPECT_EQ(effect.updateBlockSize(), r.size) << "answer " << r.answer;
    EXPECT_EQ(effect.getBlockSize(), r.size);
    if (r.callback != nullptr) {
      EXPECT_EQ(host.calls.at(0).opcode, audioMasterGetBlockSize);
    }
  }
}

// resume asks for MIDI events (host 6, value 1) only for a synthesizer or an
// effect that answers exactly 1 to "receiveVstMidiEvent".
TEST(FrameHostCalls, ResumeAsksForEventsOnlyWhenTheEffectWantsMidi) {
  const struct {
    bool synth;
    int32_t canDoAnswer;
    bool asks;
  } rows[] = {{false, 0, false}, {false, -1, false}, {false, 2, false}, {false, 1, true}, {true, 0, true}};
  for (const auto& r : rows) {
    Probe effect(hostCallback);
    effect.isSynth(r.synth);
    effect.canDoAnswer = r.canDoAnswer;
    host = FakeHost{};
    effect.resume();
    if (!r.synth) {
      EXPECT_EQ(effect.lastCanDo, "receiveVstMidiEvent");
    }
    ASSERT_EQ(host.calls.size(), r.asks ? 1u : 0u) << "synth " << r.synth << " canDo " << r.canDoAnswer;
    if (r.asks) {
      EXPECT_EQ(host.calls[0].opcode, audioMasterWantMidi);
      EXPECT_EQ(host.calls[0].value, 1);
    }
  }
}

}  // namespace
