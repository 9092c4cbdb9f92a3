// The operations that ask the host for something: the exact callback each
// makes (this record, opcode, index, value, ptr, opt), how the host's answer
// becomes the result, and what each gives without a host callback.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/AudioEffectX.h"

namespace {

struct HostCall {
  AEffect* effect; int32_t opcode, index; intptr_t value; void* ptr; float opt;
};
std::vector<HostCall> hostCalls;
intptr_t hostAnswer = 0;

intptr_t fakeHost(AEffect* e, int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
  hostCalls.push_back({e, opcode, index, value, ptr, opt});
  return hostAnswer;
}

char buffer[64];
void* const P = buffer;

struct Probe : AudioEffectX {
  explicit Probe(audioMasterCallback callback) : AudioEffectX(callback, 16, 4) {}
  void processReplacing(float**, float**, int32_t) override {}
  // Automation must store the value before the host hears of it.
  void setParameter(int32_t, float) override { EXPECT_TRUE(hostCalls.empty()); }
  int32_t canDo(char* text) override { return text == std::string("receiveVstMidiEvent") ? canDoAnswer : 0; }
  int32_t canDoAnswer = 0;
};

// How the host's answer becomes the result: unchanged (pointers too), 1 when
// non-zero, 1 only for 1, 1 for 0 (pins: 0 means connected), the answer with
// 1 for 0 (host version), a positive answer or 44100 whatever the rate was,
// a positive answer or the block size kept (1024); refused: a null argument
// gives false without asking the host.
enum class Rule { none, answer, nonZero, exactlyOne, isZero, orOne, rate, blockSize, refused };

intptr_t expectedResult(Rule rule, intptr_t answer) {
  switch (rule) {
    case Rule::answer: return answer;
    case Rule::nonZero: return answer != 0;
    case Rule::exactlyOne: return answer == 1;
    case Rule::isZero: return answer == 0;
    case Rule::orOne: return answer != 0 ? answer : 1;
    case Rule::rate: return answer > 0 ? answer : 44100;
    case Rule::blockSize: return answer > 0 ? answer : 1024;
    default: return 0;
  }
}

struct Wrapper {
  const char* call; intptr_t (*invoke)(Probe&); int32_t opcode, index; intptr_t value; void* ptr; float opt; Rule rule;
};
#define ROW(op, idx, val, ptr, opt, rule, ...) \
  {#__VA_ARGS__, [](Probe& e) { return (intptr_t)(__VA_ARGS__); }, op, idx, val, ptr, opt, Rule::rule}
#define VOID_ROW(op, idx, val, ptr, opt, ...) \
  {#__VA_ARGS__, [](Probe& e) { __VA_ARGS__; return intptr_t(0); }, op, idx, val, ptr, opt, Rule::none}

const Wrapper wrappers[] = {
    VOID_ROW(0, 2, 0, nullptr, 0.75f, e.setParameterAutomated(2, 0.75f)),
    ROW(1, 0, 0, nullptr, 0, orOne, e.getMasterVersion()),
    ROW(2, 0, 0, nullptr, 0, answer, e.getCurrentUniqueId()),
    VOID_ROW(3, 0, 0, nullptr, 0, e.masterIdle()),
    ROW(4, 4, 0, nullptr, 0, isZero, e.isInputConnected(4)),
    ROW(4, 5, 1, nullptr, 0, isZero, e.isOutputConnected(5)),
    VOID_ROW(6, 0, 7, nullptr, 0, e.__wantEventsDeprecated(7)),
    ROW(7, 0, 9, nullptr, 0, answer, e.getTimeInfo(9)),
    ROW(8, 0, 0, P, 0, exactlyOne, e.sendVstEventsToHost(static_cast<VstEvents*>(P))),
    ROW(10, 0, 11, nullptr, 0, answer, e.__tempoAtDeprecated(11)),
    ROW(11, 0, 0, nullptr, 0, answer, e.__getNumAutomatableParametersDeprecated()),
    ROW(12, 0, 0, nullptr, 0, answer, e.__getParameterQuantizationDeprecated()),
    ROW(13, 0, 0, nullptr, 0, nonZero, e.ioChanged()),
    ROW(14, 0, 0, nullptr, 0, nonZero, e.__needIdleDeprecated()),
    ROW(15, 640, 480, nullptr, 0, nonZero, e.sizeWindow(640, 480)),
    ROW(16, 0, 0, nullptr, 0, rate, (e.setSampleRate(96000.0f), e.updateSampleRate())),
    ROW(17, 0, 0, nullptr, 0, blockSize, e.updateBlockSize()),
    ROW(18, 0, 0, nullptr, 0, answer, e.getInputLatency()),
    ROW(19, 0, 0, nullptr, 0, answer, e.getOutputLatency()),
    ROW(20, 0, 0, nullptr, 0, answer, e.__getPreviousPlugDeprecated(3)),
    ROW(21, 0, 0, nullptr, 0, answer, e.__getNextPlugDeprecated(3)),
    ROW(22, 0, 0, nullptr, 0, answer, e.__willProcessReplacingDeprecated()),
    ROW(23, 0, 0, nullptr, 0, answer, e.getCurrentProcessLevel()),
    ROW(24, 0, 0, nullptr, 0, answer, e.getAutomationState()),
    ROW(25, 6, 4, P, 0, nonZero, e.offlineStart(static_cast<VstAudioFile*>(P), 4, 6)),
    ROW(26, 1, 3, P, 0, nonZero, e.offlineRead(static_cast<VstOfflineTask*>(P), VstOfflineOption(3), true)),
    ROW(27, 0, 3, P, 0, nonZero, e.offlineWrite(static_cast<VstOfflineTask*>(P), VstOfflineOption(3))),
    ROW(28, 0, 0, nullptr, 0, nonZero, e.offlineGetCurrentPass()),
    ROW(29, 0, 0, nullptr, 0, nonZero, e.offlineGetCurrentMetaPass()),
    VOID_ROW(30, 0, 0, nullptr, 48000.0f, e.__setOutputSamplerateDeprecated(48000.0f)),
    ROW(31, 0, 0, nullptr, 0, answer, e.__getOutputSpeakerArrangementDeprecated()),
    ROW(32, 0, 0, P, 0, nonZero, e.getHostVendorString(buffer)),
    ROW(33, 0, 0, P, 0, nonZero, e.getHostProductString(buffer)),
    ROW(34, 0, 0, nullptr, 0, answer, e.getHostVendorVersion()),
    ROW(35, 3, 9, P, 0.5f, answer, e.hostVendorSpecific(3, 9, P, 0.5f)),
    ROW(37, 0, 0, P, 0, nonZero, e.canHostDo(buffer)),
    ROW(38, 0, 0, nullptr, 0, answer, e.getHostLanguage()),
    ROW(39, 0, 0, P, 0, answer, e.__openWindowDeprecated(static_cast<__VstWindowDeprecated*>(P))),
    ROW(40, 0, 0, P, 0, nonZero, e.__closeWindowDeprecated(static_cast<__VstWindowDeprecated*>(P))),
    ROW(41, 0, 0, nullptr, 0, answer, e.getDirectory()),
    ROW(42, 0, 0, nullptr, 0, nonZero, e.updateDisplay()),
    ROW(43, 2, 0, nullptr, 0, nonZero, e.beginEdit(2)),
    ROW(44, 2, 0, nullptr, 0, nonZero, e.endEdit(2)),
    ROW(45, 0, 0, P, 0, nonZero, e.openFileSelector(static_cast<VstFileSelect*>(P))),
    ROW(46, 0, 0, P, 0, nonZero, e.closeFileSelector(static_cast<VstFileSelect*>(P))),
    ROW(48, 0, 0, P, 0, nonZero, e.__getChunkFileDeprecated(P)),
    ROW(49, 0, 0, nullptr, 0, answer, e.__getInputSpeakerArrangementDeprecated()),
    ROW(45, 0, 0, nullptr, 0, refused, e.openFileSelector(nullptr)),
    ROW(46, 0, 0, nullptr, 0, refused, e.closeFileSelector(nullptr)),
    ROW(48, 0, 0, nullptr, 0, refused, e.__getChunkFileDeprecated(nullptr)),
};

TEST(FrameHostCalls, EachWrapperMakesItsExactCallAndAppliesItsResultRule) {
  for (const Wrapper& w : wrappers) {
    for (const intptr_t answer : {0, 1, 2, -1}) {
      Probe effect(fakeHost);
      hostCalls.clear();
      hostAnswer = answer;
      const intptr_t result = w.invoke(effect);
      if (w.rule != Rule::none) {
        EXPECT_EQ(result, expectedResult(w.rule, answer)) << w.call << " answering " << answer;
      }
      ASSERT_EQ(hostCalls.size(), w.rule == Rule::refused ? 0u : 1u) << w.call;
      if (w.rule == Rule::refused) continue;
      const HostCall& c = hostCalls[0];
      EXPECT_TRUE(c.effect == effect.getAeffect() && c.opcode == w.opcode && c.index == w.index &&
                  c.value == w.value && c.ptr == w.ptr && c.opt == w.opt)
          << w.call << " sent " << c.opcode << "/" << c.index << "/" << c.value << "/" << c.ptr << "/" << c.opt;
    }
  }
}

// Without a callback each wrapper gives what a host answering 0 would produce.
TEST(FrameHostCalls, WithoutHostEveryWrapperFallsBack) {
  for (const Wrapper& w : wrappers) {
    Probe effect(nullptr);
    hostCalls.clear();
    const intptr_t result = w.invoke(effect);
    if (w.rule != Rule::none) {
      EXPECT_EQ(result, expectedResult(w.rule, 0)) << w.call;
    }
  }
}

// resume asks for MIDI events (host 6, value 1) only for a synthesizer or an
// effect that answers exactly 1 to "receiveVstMidiEvent".
TEST(FrameHostCalls, ResumeAsksForEventsOnlyWhenTheEffectWantsMidi) {
  const struct { bool synth; int32_t canDo; bool asks; } rows[] = {
      {false, 0, false}, {false, -1, false}, {false, 2, false}, {false, 1, true}, {true, 0, true}};
  for (const auto& r : rows) {
    Probe effect(fakeHost);
    effect.isSynth(r.synth);
    effect.canDoAnswer = r.canDo;
    hostCalls.clear();
    effect.resume();
    ASSERT_EQ(hostCalls.size(), r.asks ? 1u : 0u) << "synth " << r.synth << " canDo " << r.canDo;
    if (r.asks) {
      EXPECT_EQ(hostCalls[0].opcode, audioMasterWantMidi);
      EXPECT_EQ(hostCalls[0].value, 1);
    }
  }
}

}  // namespace
