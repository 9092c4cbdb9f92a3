// Hosts of the extension call operations by their position in the virtual
// table. Every slot from 2 (dispatcher) to 163 (setTime) is called by number
// on an instance with a recording host callback, and each call must show its
// operation's own signature: the host opcode and arguments a wrapper sends,
// the record field a setter writes, the flag bit it flips, the value a getter
// answers. The recording effect logs the operations whose default does
// nothing visible, so swapping any two declarations fails here. The same rows
// then check how each host wrapper turns the host's answer into its result,
// and what it gives without a host. Slot 164, the effect's own program
// change, is exercised through the module.
#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "VtableCall.h"
#include "support/RecordingEffect.h"

namespace {

using recording::P;
using Probe = recording::RecordingEffect;
std::string hostLog;
bool answerFixed = false;  // answer fixedAnswer instead of 1000 + opcode
intptr_t fixedAnswer = 0;

// Answers opcode n with 1000 + n, so each wrapper's result shows its opcode.
intptr_t recordingHost(AEffect*, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                       float opt) {
  std::ostringstream s;
  s << "h" << opcode << "(" << index << "," << value << "," << recording::describe(ptr) << ","
    << opt << ") ";
  hostLog += s.str();
  return answerFixed ? fixedAnswer : 1000 + opcode;
}

template <typename T>
std::string show(T v) {
  std::ostringstream s;
  if constexpr (std::is_pointer_v<T>)
    s << reinterpret_cast<intptr_t>(v);
  else
    s << v;
  return "=" + s.str();
}

// Calls slot `slot` of `o` and shows its result, if any.
template <typename R, typename... A>
std::string at(void* o, std::size_t slot, A... a) {
  if constexpr (std::is_void_v<R>) {
    callVirtualSlot<void>(o, slot, a...);
    return "";
  } else {
    return show(callVirtualSlot<R>(o, slot, a...));
  }
}

// The record fields setters write, as "field=value", and flipped flag bits.
std::string recordChanges(const AEffect& was, const AEffect& is) {
  std::string out;
  auto field = [&](const char* label, int32_t a, int32_t b) {
    if (a != b) out += std::string(label) + "=" + std::to_string(b) + " ";
  };
  field("uniqueID", was.uniqueID, is.uniqueID);
  field("numInputs", was.numInputs, is.numInputs);
  field("numOutputs", was.numOutputs, is.numOutputs);
  field("initialDelay", was.initialDelay, is.initialDelay);
  field("realQualities", was.realQualities, is.realQualities);
  field("offQualities", was.offQualities, is.offQualities);
  if (was.flags != is.flags) out += "flags^" + std::to_string(was.flags ^ is.flags) + " ";
  return out;
}

struct Slot {
  int slot;
  const char* signature;
  std::string (*call)(Probe&, void*);
};
// clang-format off
#define AT(n, signature, R, ...) \
  {n, signature, [](Probe&, void* o) { return at<R>(o, n __VA_OPT__(,) __VA_ARGS__); }}
#define DO(n, signature, ...) \
  {n, signature, [](Probe& p, void* o) -> std::string { (void)p; __VA_ARGS__ }}

VstSpeakerArrangement* arrangement(Probe& p, int32_t channels) {
  VstSpeakerArrangement* a = nullptr;
  p.allocateArrangement(&a, channels);
  return a;
}

char text[16];
const int32_t i3 = 3;
const auto off3 = VstOfflineOption(3);
using Arrangement = VstSpeakerArrangement;

// One row per slot: what calling it shows. Recorded operations show their
// name and arguments (int answers 77, bool true), wrappers the host call
// h<opcode>(index,value,ptr,opt) and the host's answer 1000 + opcode.
const Slot kSlots[] = {
    AT(2, "getVstVersion() =77", intptr_t, int32_t(effGetVstVersion), i3, intptr_t(0), (void*)nullptr, 0.0f),
    AT(3, "open() ", void), AT(4, "close() ", void), AT(5, "suspend() ", void), AT(6, "resume() ", void),
    AT(7, "setSampleRate(48000) ", void, 48000.0f), AT(8, "setBlockSize(512) ", void, int32_t(512)),
    AT(9, "processReplacing(3) ", void, (float**)nullptr, (float**)nullptr, i3),
    AT(10, "processDoubleReplacing(3) ", void, (double**)nullptr, (double**)nullptr, i3),
    AT(11, "setParameter(3,0.5) ", void, i3, 0.5f), AT(12, "getParameter(3) =0.5", float, i3),
    AT(13, "setParameter(3,0.75) h0(3,0,null,0.75) ", void, i3, 0.75f),  // setParameterAutomated
    AT(14, "getProgram() =77", int32_t), AT(15, "setProgram(9) ", void, int32_t(9)),
    AT(16, "setProgramName(P) ", void, P), AT(17, "getProgramName(P) ", void, P),
    AT(18, "getParameterLabel(3,P) ", void, i3, P), AT(19, "getParameterDisplay(3,P) ", void, i3, P),
    AT(20, "getParameterName(3,P) ", void, i3, P), AT(21, "getChunk(P,true) =77", int32_t, (void**)P, true),
    AT(22, "setChunk(P,3,true) =77", int32_t, (void*)P, i3, true),
    AT(23, "uniqueID=77 ", void, int32_t(77)), AT(24, "numInputs=5 ", void, int32_t(5)),
    AT(25, "numOutputs=6 ", void, int32_t(6)), AT(26, "flags^16 ", void, false),
    AT(27, "flags^4096 ", void, true), AT(28, "flags^32 ", void, true),
    AT(29, "initialDelay=64 ", void, int32_t(64)), AT(30, "getEditor() =0", AEffEditor*),
    DO(31, "=record", return at<AEffect*>(o, 31) == show(p.getAeffect()) ? "=record" : "?";),
    DO(32, "=22050", p.AudioEffect::setSampleRate(22050.0f); return at<float>(o, 32);),
    DO(33, "=256", p.AudioEffect::setBlockSize(256); return at<int32_t>(o, 33);),
    AT(34, "h1(0,0,null,0) =1001", int32_t), AT(35, "h2(0,0,null,0) =1002", int32_t),
    AT(36, "h3(0,0,null,0) ", void), AT(37, "h4(4,0,null,0) =0", bool, int32_t(4)),
    AT(38, "h4(5,1,null,0) =0", bool, int32_t(5)),
    // The value-to-text helpers on 10: decibels of a gain, hertz and
    // milliseconds of a count of samples at 44100 Hz, plain number, integer.
    DO(39, " 20.00", at<void>(o, 39, 10.0f, text, int32_t(8)); return text;),
    DO(40, " 4410.00", at<void>(o, 40, 10.0f, text, int32_t(8)); return text;),
    DO(41, " 0.23", at<void>(o, 41, 10.0f, text, int32_t(8)); return text;),
    DO(42, " 10.00", at<void>(o, 42, 10.0f, text, int32_t(8)); return text;),
    DO(43, "10", at<void>(o, 43, int32_t(10), text, int32_t(8)); return text;),
    AT(44, "__processDeprecated(3) ", void, (float**)nullptr, (float**)nullptr, i3),
    AT(45, "__getVuDeprecated() =0.5", float), AT(46, "flags^4 ", void, true),
    AT(47, "flags^2 ", void, true), AT(48, "flags^8 ", void, true),
    AT(49, "realQualities=5 ", void, int32_t(5)), AT(50, "offQualities=6 ", void, int32_t(6)),
    // AudioEffectX
    AT(51, "canParameterBeAutomated(3) =1", bool, i3), AT(52, "string2parameter(3,P) =1", bool, i3, P),
    AT(53, "getParameterProperties(3,P) =1", bool, i3, (VstParameterProperties*)P),
    AT(54, "h43(3,0,null,0) =1", bool, i3), AT(55, "h44(3,0,null,0) =1", bool, i3),
    AT(56, "getProgramNameIndexed(3,3,P) =1", bool, i3, i3, P), AT(57, "beginSetProgram() =1", bool),
    AT(58, "endSetProgram() =1", bool), AT(59, "beginLoadBank(P) =77", int32_t, (VstPatchChunkInfo*)P),
    AT(60, "beginLoadProgram(P) =77", int32_t, (VstPatchChunkInfo*)P), AT(61, "h13(0,0,null,0) =1", bool),
    AT(62, "h16(0,0,null,0) =1016", float), AT(63, "h17(0,0,null,0) =1017", int32_t),
    AT(64, "h18(0,0,null,0) =1018", int32_t), AT(65, "h19(0,0,null,0) =1019", int32_t),
    AT(66, "getInputProperties(3,P) =1", bool, i3, (VstPinProperties*)P),
    AT(67, "getOutputProperties(3,P) =1", bool, i3, (VstPinProperties*)P),
    AT(68, "setSpeakerArrangement(P,P) =1", bool, (Arrangement*)P, (Arrangement*)P),
    AT(69, "getSpeakerArrangement(V,P) =1", bool, (Arrangement**)recording::V, (Arrangement**)P),
    AT(70, "setBypass(true) =1", bool, true), AT(71, "setPanLaw(3,0.5) =1", bool, i3, 0.5f),
    AT(72, "setProcessPrecision(3) =1", bool, i3), AT(73, "getNumMidiInputChannels() =77", int32_t),
    AT(74, "getNumMidiOutputChannels() =77", int32_t), AT(75, "h7(0,3,null,0) =1007", VstTimeInfo*, i3),
    AT(76, "h23(0,0,null,0) =1023", int32_t), AT(77, "h24(0,0,null,0) =1024", int32_t),
    AT(78, "processEvents(P) =77", int32_t, (VstEvents*)P), AT(79, "startProcess() =77", int32_t),
    AT(80, "stopProcess() =77", int32_t), AT(81, "processVariableIo(P) =1", bool, (VstVariableIo*)P),
    AT(82, "setTotalSampleToProcess(12345) =77", int32_t, int32_t(12345)),
    AT(83, "h32(0,0,P,0) =1", bool, P), AT(84, "h33(0,0,P,0) =1", bool, P),
    AT(85, "h34(0,0,null,0) =1034", int32_t),
    AT(86, "h35(3,9,P,0.5) =1035", intptr_t, i3, intptr_t(9), (void*)P, 0.5f),
    AT(87, "h37(0,0,P,0) =1", int32_t, P), AT(88, "h38(0,0,null,0) =1038", int32_t),
    AT(89, "flags^256 ", void, true), AT(90, "flags^512 ", void, true),
    AT(91, "getGetTailSize() =77", int32_t), AT(92, "h41(0,0,null,0) =1041", void*),
    AT(93, "getEffectName(P) =1", bool, P), AT(94, "getVendorString(P) =1", bool, P),
    AT(95, "getProductString(P) =1", bool, P), AT(96, "getVendorVersion() =77", int32_t),
    AT(97, "vendorSpecific(3,3,P,0.5) =77", intptr_t, i3, intptr_t(3), (void*)P, 0.5f),
    AT(98, "canDo(P) =77", int32_t, P), AT(99, "getVstVersion() =77", int32_t),
    AT(100, "getPlugCategory() =77", int32_t),
    AT(101, "getMidiProgramName(3,P) =77", int32_t, i3, (MidiProgramName*)P),
    AT(102, "getCurrentMidiProgram(3,P) =77", int32_t, i3, (MidiProgramName*)P),
    AT(103, "getMidiProgramCategory(3,P) =77", int32_t, i3, (MidiProgramCategory*)P),
    AT(104, "hasMidiProgramsChanged(3) =1", bool, i3), AT(105, "getMidiKeyName(3,P) =1", bool, i3, (MidiKeyName*)P),
    AT(106, "h42(0,0,null,0) =1", bool), AT(107, "h15(640,480,null,0) =1", bool, int32_t(640), int32_t(480)),
    AT(108, "h45(0,0,P,0) =1", bool, (VstFileSelect*)P), AT(109, "h46(0,0,P,0) =1", bool, (VstFileSelect*)P),
    AT(110, "getNextShellPlugin(P) =77", int32_t, P),
    DO(111, "=1 channels 3", Arrangement* a = nullptr; const auto r = at<bool>(o, 111, &a, i3);
       const int n = a->numChannels; p.deallocateArrangement(&a); return r + " channels " + std::to_string(n);),
    DO(112, "=1 released", Arrangement* a = arrangement(p, 2); const auto r = at<bool>(o, 112, &a);
       return r + (a ? " kept" : " released");),
    DO(113, "=1 copied", VstSpeakerProperties from{}, to{}; std::strcpy(from.name, "L");
       const auto r = at<bool>(o, 113, &to, &from); return r + (to.name[0] == 'L' ? " copied" : "");),
    DO(114, "=1 channels 2", Arrangement *from = arrangement(p, 2), *to = nullptr;
       const auto r = at<bool>(o, 114, &to, from); const int n = to->numChannels; p.deallocateArrangement(&to);
       p.deallocateArrangement(&from); return r + " channels " + std::to_string(n);),
    AT(115, "h26(1,3,P,0) =1", bool, (VstOfflineTask*)P, off3, true),
    AT(116, "h27(0,3,P,0) =1", bool, (VstOfflineTask*)P, off3),
    AT(117, "h25(6,4,P,0) =1", bool, (VstAudioFile*)P, int32_t(4), int32_t(6)),
    AT(118, "h28(0,0,null,0) =1", int32_t), AT(119, "h29(0,0,null,0) =1", int32_t),
    AT(120, "offlineNotify(P,3,true) =1", bool, (VstAudioFile*)P, i3, true),
    AT(121, "offlinePrepare(P,3) =1", bool, (VstOfflineTask*)P, i3),
    AT(122, "offlineRun(P,3) =1", bool, (VstOfflineTask*)P, i3),
    AT(123, "offlineGetNumPasses() =77", int32_t), AT(124, "offlineGetNumMetaPasses() =77", int32_t),
    AT(125, "h6(0,7,null,0) ", void, int32_t(7)), AT(126, "h10(0,11,null,0) =1010", int32_t, int32_t(11)),
    AT(127, "h11(0,0,null,0) =1011", int32_t), AT(128, "h12(0,0,null,0) =1012", int32_t),
    AT(129, "=1", int32_t), AT(130, "__copyProgramDeprecated(3) =1", bool, i3),
    AT(131, "h14(0,0,null,0) =1", bool), AT(132, "h20(0,0,null,0) =1020", AEffect*, i3),
    AT(133, "h21(0,0,null,0) =1021", AEffect*, i3),
    AT(134, "__inputConnectedDeprecated(3,true) ", void, i3, true),
    AT(135, "__outputConnectedDeprecated(3,true) ", void, i3, true),
    AT(136, "h22(0,0,null,0) =1022", int32_t), AT(137, "flags^1024 ", void, true),
    AT(138, "flags^2048 ", void, true), AT(139, "__reportCurrentPositionDeprecated() =77", int32_t),
    AT(140, "__reportDestinationBufferDeprecated() =0", float*),
    AT(141, "h30(0,0,null,48000) ", void, 48000.0f), AT(142, "h49(0,0,null,0) =1049", Arrangement*),
    AT(143, "h31(0,0,null,0) =1031", Arrangement*),
    AT(144, "h39(0,0,P,0) =1039", void*, (__VstWindowDeprecated*)P),
    AT(145, "h40(0,0,P,0) =1", bool, (__VstWindowDeprecated*)P),
    DO(146, "=512 at 22050", at<void>(o, 146, int32_t(512), 22050.0f);
       return show(p.getBlockSize()) + " at " + show(p.getSampleRate()).substr(1);),
    AT(147, "__getErrorTextDeprecated(P) =1", bool, P), AT(148, "__getIconDeprecated() =0", void*),
    AT(149, "__setViewPositionDeprecated(3,3) =1", bool, i3, i3), AT(150, "__fxIdleDeprecated() =77", int32_t),
    AT(151, "__keysRequiredDeprecated() =1", bool), AT(152, "h48(0,0,P,0) =1", bool, (void*)P),
    // The host extension, behind AudioEffectX's last operation.
    AT(153, "getNumOfInJacks() =77", int32_t), AT(154, "getNumOfOutJacks() =77", int32_t),
    AT(155, "getNumOfInSig(3) =77", int32_t, i3), AT(156, "getNumOfOutSig(3) =77", int32_t, i3),
    AT(157, "getStartNumInSig(3) =77", int32_t, i3), AT(158, "getStartNumOutSig(3) =77", int32_t, i3),
    AT(159, "getDryInSigNum() =77", int32_t), AT(160, "setListner(null) ", void, (Q_VstListner*)nullptr),
    AT(161, "getParameterDisplayOf(3,0.5,P) ", void, i3, 0.5f, P), AT(162, "getHeaderVersion() =77", int32_t),
    AT(163, "setTime(-1) ", void, -1.0f),
};
// clang-format on

TEST(FrameVtableSlots, EverySlotReachesItsOwnOperation) {
  int expectedSlot = 2;
  for (const Slot& s : kSlots) {
    ASSERT_EQ(s.slot, expectedSlot++) << "the table lists every slot once, in order";
    Probe probe(recordingHost);
    void* object = static_cast<AudioEffect*>(&probe);
    const AEffect before = *probe.getAeffect();
    hostLog.clear();
    const std::string result = s.call(probe, object);
    std::string calls;
    for (const std::string& c : probe.log.calls) calls += c + " ";
    EXPECT_EQ(calls + hostLog + recordChanges(before, *probe.getAeffect()) + result, s.signature)
        << "slot " << s.slot;
  }
  EXPECT_EQ(expectedSlot, 164);
  EXPECT_EQ(Probe(nullptr).getAeffect()->flags,
            effFlagsCanReplacing | effFlagsHasEditor);  // setEditor
}

// What a host wrapper makes of the host's answer a, read from what it made of
// 1000 + opcode: a unchanged, 1 for any non-zero a, 1 for 0 (a pin is
// connected when the host answers 0), or a with a fallback for 0 and below:
// version 1, rate 44100 whatever the rate was, block size kept.
std::string resultFor(const std::string& signature, int32_t opcode, intptr_t a) {
  const long shown = std::stol(signature.substr(signature.rfind('=') + 1));
  intptr_t r = shown == 1 ? a != 0 : shown == 0 ? a == 0 : a;
  if (opcode == audioMasterVersion && a == 0) r = 1;
  if (opcode == audioMasterGetSampleRate && a <= 0) r = 44100;
  if (opcode == audioMasterGetBlockSize && a <= 0) r = 1024;
  return "=" + std::to_string(r);
}

// Every wrapper row again with the host answering 0, 1, 2 and -1, and with no
// host at all, which gives what an answer of 0 gives and calls nothing.
TEST(FrameVtableSlots, WrappersDeriveTheirResultFromTheHostsAnswer) {
  for (const Slot& s : kSlots) {
    const std::string signature = s.signature;
    const bool wrapper =
        signature[0] == 'h' && std::isdigit(static_cast<unsigned char>(signature[1]));
    if (!wrapper || signature.find('=') == std::string::npos) continue;
    const int32_t opcode = std::stoi(signature.substr(1));
    for (const bool withHost : {true, false}) {
      for (const intptr_t a : {0, 1, 2, -1}) {
        Probe probe(withHost ? recordingHost : nullptr);
        probe.AudioEffect::setSampleRate(96000.0f);
        answerFixed = true, fixedAnswer = a, hostLog.clear();
        const std::string result = s.call(probe, static_cast<AudioEffect*>(&probe));
        answerFixed = false;
        EXPECT_EQ(result, resultFor(signature, opcode, withHost ? a : 0))
            << "slot " << s.slot << " answer " << a;
        EXPECT_EQ(hostLog.empty(), !withHost) << "slot " << s.slot;
        if (!withHost) break;
      }
    }
  }
}

// Wrappers with a pointer argument refuse null without asking; events count
// as delivered only when the host answers exactly 1; resume asks for MIDI
// events (host 6, value 1) for a synthesizer only, unless canDo says exactly 1.
TEST(FrameVtableSlots, WrapperSpecialCases) {
  Probe probe(recordingHost);
  hostLog.clear();
  EXPECT_FALSE(probe.openFileSelector(nullptr) || probe.closeFileSelector(nullptr) ||
               probe.__getChunkFileDeprecated(nullptr));
  answerFixed = true;
  std::string delivered;
  for (const intptr_t a : {1, 2, 0, -1})
    delivered += (fixedAnswer = a, probe.sendVstEventsToHost(nullptr)) ? "1" : "0";
  answerFixed = false;
  EXPECT_EQ(delivered, "1000");
  hostLog.clear();
  probe.AudioEffectX::resume();  // the recording effect's canDo answers 77
  EXPECT_EQ(hostLog, "");
  probe.isSynth(true);
  probe.AudioEffectX::resume();
  EXPECT_EQ(hostLog, "h6(0,1,null,0) ");
}

// An extension that overrides nothing answers the defaults, by position.
TEST(FrameVtableSlots, ExtensionDefaultsBehindTheExtendedOperations) {
  struct Plain : Q_TypeBase {
    Plain() : Q_TypeBase(nullptr, 16, 4) {}
    void processReplacing(float**, float**, int32_t) override {}
  } plain;
  void* o = static_cast<AudioEffect*>(&plain);
  const int32_t jack = 0;
  const std::vector<int32_t> answers = {
      callVirtualSlot<int32_t>(o, 153),       callVirtualSlot<int32_t>(o, 154),
      callVirtualSlot<int32_t>(o, 155, jack), callVirtualSlot<int32_t>(o, 156, jack),
      callVirtualSlot<int32_t>(o, 157, jack), callVirtualSlot<int32_t>(o, 158, jack),
      callVirtualSlot<int32_t>(o, 159),       callVirtualSlot<int32_t>(o, 162)};
  EXPECT_EQ(answers, (std::vector<int32_t>{1, 1, 2, 1, 0, 0, -1, 1}));
}

}  // namespace
