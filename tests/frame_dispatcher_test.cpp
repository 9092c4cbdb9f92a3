// Opcode routing of the two dispatchers: which operation each opcode reaches,
// with which arguments, and how its result comes back.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "support/RecordingEffect.h"

namespace {

using namespace recording;

const intptr_t kV = reinterpret_cast<intptr_t>(V);
// 2^32 + 5 on 64-bit, plain 5 on 32-bit: int operations must receive 5, range
// checks must see the whole value.
const intptr_t kWide5 = static_cast<intptr_t>((int64_t{1} << 32) + 5);
const bool kWideValues = sizeof(intptr_t) > 4;

struct Route {
  int32_t opcode;
  intptr_t value;
  std::string call;  // empty: no operation may be reached
  intptr_t result;
  float opt = 0.25f;
};

TEST(FrameDispatcher, EachOpcodeReachesItsOperationWithItsArguments) {
  const Route routes[] = {
      {0, 5, "open()", 0},
      {1, 5, "close()", 0},
      {2, 15, "setProgram(15)", 0},
      {2, 16, "", 0},
      {2, -1, "", 0},
      {2, kWide5, kWideValues ? "" : "setProgram(5)", 0},
      {3, 5, "getProgram()", kAnswer},
      {4, 5, "setProgramName(P)", 0},
      {5, 5, "getProgramName(P)", 0},
      {6, 5, "getParameterLabel(3,P)", 0},
      {7, 5, "getParameterDisplay(3,P)", 0},
      {8, 5, "getParameterName(3,P)", 0},
      {10, 5, "setSampleRate(0.25)", 0},
      {11, kWide5, "setBlockSize(5)", 0},
      {12, 0, "suspend()", 0},
      {12, 5, "resume()", 0},
      {12, kWide5 - 5, kWideValues ? "resume()" : "suspend()", 0},
      {13, 5, "getRect(P)", 1},
      {14, 5, "open(P)", 1},
      {15, 5, "close()", 0},
      {19, 5, "idle()", 0},
      {22, 5, "", 0x4E764566},
      {23, 5, "getChunk(P,true)", kAnswer},
      {24, 5, "setChunk(P,5,true)", kAnswer},
      {25, 5, "processEvents(P)", kAnswer},
      {26, 5, "canParameterBeAutomated(3)", 1},
      {27, 5, "string2parameter(3,P)", 1},
      {29, -1, "getProgramNameIndexed(-1,3,P)", 1},
      {33, 5, "getInputProperties(3,P)", 1},
      {34, 5, "getOutputProperties(3,P)", 1},
      {35, 5, "getPlugCategory()", kAnswer},
      {38, 5, "offlineNotify(P,5,true)", 1},
      {39, 5, "offlinePrepare(P,5)", 1},
      {40, 5, "offlineRun(P,5)", 1},
      {41, 5, "processVariableIo(P)", 1},
      {42, kV, "setSpeakerArrangement(V,P)", 1},
      {44, 5, "setBypass(true)", 1},
      {44, 0, "setBypass(false)", 1},
      {45, 5, "getEffectName(P)", 1},
      {47, 5, "getVendorString(P)", 1},
      {48, 5, "getProductString(P)", 1},
      {49, 5, "getVendorVersion()", kAnswer},
      {50, 5, "vendorSpecific(3,5,P,0.25)", kAnswer},
      {51, 5, "canDo(P)", kAnswer},
      {52, 5, "getGetTailSize()", kAnswer},
      {56, 5, "getParameterProperties(3,P)", 1},
      {58, 5, "getVstVersion()", kAnswer},
      // Key codes: character = index, virtual key = low byte of value,
      // modifier = low byte of opt truncated toward zero.
      {59, 0x1FF, "onKeyDown(3,255,44)", 1, 300.7f},
      {60, 0x102, "onKeyUp(3,2,255)", 1, -1.5f},
      {59, 7, "onKeyDown(3,7,0)", 1, 1e10f},
      {59, 7, "onKeyDown(3,7,0)", 1, std::nanf("")},
      {61, kWide5, "setKnobMode(5)", 1},
      {62, 5, "getMidiProgramName(3,P)", kAnswer},
      {63, 5, "getCurrentMidiProgram(3,P)", kAnswer},
      {64, 5, "getMidiProgramCategory(3,P)", kAnswer},
      {65, 5, "hasMidiProgramsChanged(3)", 1},
      {66, 5, "getMidiKeyName(3,P)", 1},
      {67, 5, "beginSetProgram()", 1},
      {68, 5, "endSetProgram()", 1},
      {69, kV, "getSpeakerArrangement(V,P)", 1},
      {70, 5, "getNextShellPlugin(P)", kAnswer},
      {71, 5, "startProcess()", kAnswer},
      {72, 5, "stopProcess()", kAnswer},
      {73, kWide5, "setTotalSampleToProcess(5)", kAnswer},
      {74, kWide5, "setPanLaw(5,0.25)", 1},
      {75, 5, "beginLoadBank(P)", kAnswer},
      {76, 5, "beginLoadProgram(P)", kAnswer},
      {77, kWide5, "setProcessPrecision(5)", 1},
      {78, 5, "getNumMidiInputChannels()", kAnswer},
      {79, 5, "getNumMidiOutputChannels()", kAnswer},
  };
  for (const Route& r : routes) {
    RecordingEffect probe;
    EXPECT_EQ(probe.dispatcher(r.opcode, 3, r.value, P, r.opt), r.result) << "opcode " << r.opcode;
    EXPECT_EQ(probe.log.calls,
              r.call.empty() ? std::vector<std::string>{} : std::vector<std::string>{r.call})
        << "opcode " << r.opcode << " value " << r.value;
  }
  // Unused numbers, the gaps of the extended range, and numbers beyond it.
  for (const int32_t opcode :
       {9, 16, 17, 18, 20, 21, 28, 30, 31, 32, 36, 37, 43, 46, 53, 54, 55, 57, 80, -1}) {
    RecordingEffect probe;
    EXPECT_EQ(probe.dispatcher(opcode, 3, 5, P, 0.25f), 0) << "opcode " << opcode;
    EXPECT_TRUE(probe.log.calls.empty()) << "opcode " << opcode;
  }
}

// Forwards to AudioEffectX, counting entries: AudioEffectX must hand what it
// does not handle to the base directly, never back through this override.
struct PlainEffect : AudioEffectX {
  PlainEffect() : AudioEffectX(nullptr, 16, 4) {}
  void processReplacing(float**, float**, int32_t) override {}
  int entries = 0;
  intptr_t dispatcher(int32_t op, int32_t i, intptr_t v, void* p, float o) override {
    ++entries;
    return AudioEffectX::dispatcher(op, i, v, p, o);
  }
};

// A plain effect (no editor, nothing overridden) answers 0 everywhere except here.
TEST(FrameDispatcher, PlainEffectAnswersEveryOpcodeWithTheBaseDefaults) {
  const std::map<int32_t, intptr_t> nonZero = {
      {22, 0x4E764566}, {26, 1}, {58, 2400}, {63, -1}, {73, 12345}};
  for (int32_t opcode = -4; opcode < 130; ++opcode) {
    PlainEffect effect;
    alignas(void*) char buffer[256] = {};
    const auto it = nonZero.find(opcode);
    EXPECT_EQ(effect.dispatcher(opcode, 3, opcode == 73 ? 12345 : 0, buffer, 0.0f),
              it == nonZero.end() ? 0 : it->second)
        << "opcode " << opcode;
    EXPECT_EQ(effect.entries, 1) << "opcode " << opcode;
  }
  PlainEffect synth;
  synth.isSynth(true);
  EXPECT_EQ(synth.dispatcher(effGetPlugCategory, 0, 0, nullptr, 0.0f), 2);
  auto* in = reinterpret_cast<VstSpeakerArrangement*>(P);
  auto* out = in;
  EXPECT_EQ(
      synth.dispatcher(effGetSpeakerArrangement, 0, reinterpret_cast<intptr_t>(&in), &out, 0.0f),
      0);
  EXPECT_EQ(in, nullptr);
  EXPECT_EQ(out, nullptr);
}

}  // namespace
