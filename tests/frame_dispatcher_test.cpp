// Opcode routing of the two dispatchers: which operation each opcode reaches,
// with which arguments, and how its result comes back.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "frame/AEffEditor.h"
#include "frame/AudioEffectX.h"

namespace {

char ptrTarget[256];    // what every row passes in ptr ("P")
char valueTarget[256];  // what the pointer-in-value opcodes pass in value ("V")
const intptr_t kValuePtr = reinterpret_cast<intptr_t>(valueTarget);
constexpr float kOpt = 0.25f;
constexpr int32_t kAnswer = 77;  // what every int-returning operation answers

template <typename T>
std::string describe(T v) {
  if constexpr (std::is_pointer_v<T>) {
    const void* p = v;
    return p == nullptr ? "null" : p == ptrTarget ? "P" : p == valueTarget ? "V" : "?";
  } else if constexpr (std::is_same_v<T, bool>) {
    return v ? "true" : "false";
  } else {
    std::ostringstream s;
    s << v;
    return s.str();
  }
}

// Records every operation the dispatcher reaches as "name(arg,arg)".
// bool operations answer true, int operations kAnswer.
class RoutingProbe : public AudioEffectX {
 public:
  RoutingProbe() : AudioEffectX(nullptr, 16, 4) {}
  std::vector<std::string> calls;

  template <typename... A>
  void note(const char* name, A... args) {
    std::string call = std::string(name) + "(";
    std::string separator;
    ((call += separator + describe(args), separator = ","), ...);
    calls.push_back(call + ")");
  }

  void processReplacing(float**, float**, int32_t) override {}
  void open() override { note("open"); }
  void close() override { note("close"); }
  void suspend() override { note("suspend"); }
  void resume() override { note("resume"); }
  void setSampleRate(float r) override { note("setSampleRate", r); }
  void setBlockSize(int32_t b) override { note("setBlockSize", b); }
  int32_t getProgram() override { note("getProgram"); return kAnswer; }
  void setProgram(int32_t p) override { note("setProgram", p); }
  void setProgramName(char* n) override { note("setProgramName", n); }
  void getProgramName(char* n) override { note("getProgramName", n); }
  void getParameterLabel(int32_t i, char* t) override { note("getParameterLabel", i, t); }
  void getParameterDisplay(int32_t i, char* t) override { note("getParameterDisplay", i, t); }
  void getParameterName(int32_t i, char* t) override { note("getParameterName", i, t); }
  int32_t getChunk(void** d, bool p) override { note("getChunk", d, p); return kAnswer; }
  int32_t setChunk(void* d, int32_t n, bool p) override { note("setChunk", d, n, p); return kAnswer; }

  int32_t processEvents(VstEvents* e) override { note("processEvents", e); return kAnswer; }
  bool canParameterBeAutomated(int32_t i) override { note("canParameterBeAutomated", i); return true; }
  bool string2parameter(int32_t i, char* t) override { note("string2parameter", i, t); return true; }
  bool getProgramNameIndexed(int32_t c, int32_t i, char* t) override {
    note("getProgramNameIndexed", c, i, t); return true;
  }
  bool getInputProperties(int32_t i, VstPinProperties* p) override { note("getInputProperties", i, p); return true; }
  bool getOutputProperties(int32_t i, VstPinProperties* p) override { note("getOutputProperties", i, p); return true; }
  int32_t getPlugCategory() override { note("getPlugCategory"); return kAnswer; }
  bool offlineNotify(VstAudioFile* f, int32_t n, bool s) override { note("offlineNotify", f, n, s); return true; }
  bool offlinePrepare(VstOfflineTask* t, int32_t n) override { note("offlinePrepare", t, n); return true; }
  bool offlineRun(VstOfflineTask* t, int32_t n) override { note("offlineRun", t, n); return true; }
  bool processVariableIo(VstVariableIo* v) override { note("processVariableIo", v); return true; }
  bool setSpeakerArrangement(VstSpeakerArrangement* i, VstSpeakerArrangement* o) override {
    note("setSpeakerArrangement", i, o); return true;
  }
  bool setBypass(bool b) override { note("setBypass", b); return true; }
  bool getEffectName(char* t) override { note("getEffectName", t); return true; }
  bool getVendorString(char* t) override { note("getVendorString", t); return true; }
  bool getProductString(char* t) override { note("getProductString", t); return true; }
  int32_t getVendorVersion() override { note("getVendorVersion"); return kAnswer; }
  intptr_t vendorSpecific(int32_t a, intptr_t b, void* p, float f) override {
    note("vendorSpecific", a, b, p, f); return kAnswer;
  }
  int32_t canDo(char* t) override { note("canDo", t); return kAnswer; }
  int32_t getGetTailSize() override { note("getGetTailSize"); return kAnswer; }
  bool getParameterProperties(int32_t i, VstParameterProperties* p) override {
    note("getParameterProperties", i, p); return true;
  }
  int32_t getVstVersion() override { note("getVstVersion"); return kAnswer; }
  int32_t getMidiProgramName(int32_t c, MidiProgramName* n) override { note("getMidiProgramName", c, n); return kAnswer; }
  int32_t getCurrentMidiProgram(int32_t c, MidiProgramName* n) override { note("getCurrentMidiProgram", c, n); return kAnswer; }
  int32_t getMidiProgramCategory(int32_t c, MidiProgramCategory* n) override { note("getMidiProgramCategory", c, n); return kAnswer; }
  bool hasMidiProgramsChanged(int32_t c) override { note("hasMidiProgramsChanged", c); return true; }
  bool getMidiKeyName(int32_t c, MidiKeyName* k) override { note("getMidiKeyName", c, k); return true; }
  bool beginSetProgram() override { note("beginSetProgram"); return true; }
  bool endSetProgram() override { note("endSetProgram"); return true; }
  bool getSpeakerArrangement(VstSpeakerArrangement** i, VstSpeakerArrangement** o) override {
    note("getSpeakerArrangement", i, o); return true;
  }
  int32_t getNextShellPlugin(char* n) override { note("getNextShellPlugin", n); return kAnswer; }
  int32_t startProcess() override { note("startProcess"); return kAnswer; }
  int32_t stopProcess() override { note("stopProcess"); return kAnswer; }
  int32_t setTotalSampleToProcess(int32_t v) override { note("setTotalSampleToProcess", v); return kAnswer; }
  bool setPanLaw(int32_t t, float v) override { note("setPanLaw", t, v); return true; }
  int32_t beginLoadBank(VstPatchChunkInfo* p) override { note("beginLoadBank", p); return kAnswer; }
  int32_t beginLoadProgram(VstPatchChunkInfo* p) override { note("beginLoadProgram", p); return kAnswer; }
  bool setProcessPrecision(int32_t p) override { note("setProcessPrecision", p); return true; }
  int32_t getNumMidiInputChannels() override { note("getNumMidiInputChannels"); return kAnswer; }
  int32_t getNumMidiOutputChannels() override { note("getNumMidiOutputChannels"); return kAnswer; }
};

struct Route {
  int32_t opcode;
  int32_t index;
  intptr_t value;
  const char* call;  // "" when no operation may be reached
  intptr_t result;
};

TEST(FrameDispatcher, EachOpcodeReachesItsOperationWithItsArguments) {
  const Route routes[] = {
      {0, 3, 5, "open()", 0},
      {1, 3, 5, "close()", 0},
      {2, 3, 15, "setProgram(15)", 0},
      {2, 3, 16, "", 0},  // at numPrograms: ignored
      {2, 3, -1, "", 0},  // negative: ignored
      {3, 3, 5, "getProgram()", kAnswer},
      {4, 3, 5, "setProgramName(P)", 0},
      {5, 3, 5, "getProgramName(P)", 0},
      {6, 3, 5, "getParameterLabel(3,P)", 0},
      {7, 3, 5, "getParameterDisplay(3,P)", 0},
      {8, 3, 5, "getParameterName(3,P)", 0},
      {10, 3, 5, "setSampleRate(0.25)", 0},
      {11, 3, 5, "setBlockSize(5)", 0},
      {12, 3, 0, "suspend()", 0},
      {12, 3, 5, "resume()", 0},
      {22, 3, 5, "", 0x4E764566},
      {23, 3, 5, "getChunk(P,true)", kAnswer},
      {23, 0, 5, "getChunk(P,false)", kAnswer},
      {24, 3, 5, "setChunk(P,5,true)", kAnswer},
      {25, 3, 5, "processEvents(P)", kAnswer},
      {26, 3, 5, "canParameterBeAutomated(3)", 1},
      {27, 3, 5, "string2parameter(3,P)", 1},
      {29, 3, -1, "getProgramNameIndexed(-1,3,P)", 1},  // value: category, index: program
      {33, 3, 5, "getInputProperties(3,P)", 1},
      {34, 3, 5, "getOutputProperties(3,P)", 1},
      {35, 3, 5, "getPlugCategory()", kAnswer},
      {38, 3, 5, "offlineNotify(P,5,true)", 1},
      {39, 3, 5, "offlinePrepare(P,5)", 1},
      {40, 3, 5, "offlineRun(P,5)", 1},
      {41, 3, 5, "processVariableIo(P)", 1},
      {42, 3, kValuePtr, "setSpeakerArrangement(V,P)", 1},
      {44, 3, 5, "setBypass(true)", 1},
      {44, 3, 0, "setBypass(false)", 1},
      {45, 3, 5, "getEffectName(P)", 1},
      {47, 3, 5, "getVendorString(P)", 1},
      {48, 3, 5, "getProductString(P)", 1},
      {49, 3, 5, "getVendorVersion()", kAnswer},
      {50, 3, 5, "vendorSpecific(3,5,P,0.25)", kAnswer},
      {51, 3, 5, "canDo(P)", kAnswer},
      {52, 3, 5, "getGetTailSize()", kAnswer},
      {56, 3, 5, "getParameterProperties(3,P)", 1},
      {58, 3, 5, "getVstVersion()", kAnswer},
      {62, 3, 5, "getMidiProgramName(3,P)", kAnswer},
      {63, 3, 5, "getCurrentMidiProgram(3,P)", kAnswer},
      {64, 3, 5, "getMidiProgramCategory(3,P)", kAnswer},
      {65, 3, 5, "hasMidiProgramsChanged(3)", 1},
      {66, 3, 5, "getMidiKeyName(3,P)", 1},
      {67, 3, 5, "beginSetProgram()", 1},
      {68, 3, 5, "endSetProgram()", 1},
      {69, 3, kValuePtr, "getSpeakerArrangement(V,P)", 1},
      {70, 3, 5, "getNextShellPlugin(P)", kAnswer},
      {71, 3, 5, "startProcess()", kAnswer},
      {72, 3, 5, "stopProcess()", kAnswer},
      {73, 3, 5, "setTotalSampleToProcess(5)", kAnswer},
      {74, 3, 5, "setPanLaw(5,0.25)", 1},
      {75, 3, 5, "beginLoadBank(P)", kAnswer},
      {76, 3, 5, "beginLoadProgram(P)", kAnswer},
      {77, 3, 5, "setProcessPrecision(5)", 1},
      {78, 3, 5, "getNumMidiInputChannels()", kAnswer},
      {79, 3, 5, "getNumMidiOutputChannels()", kAnswer},
      // Unused numbers, the gaps of the extended range, and everything beyond.
      {9, 3, 5, "", 0},   {16, 3, 5, "", 0},  {17, 3, 5, "", 0},  {18, 3, 5, "", 0},
      {20, 3, 5, "", 0},  {21, 3, 5, "", 0},  {28, 3, 5, "", 0},  {30, 3, 5, "", 0},
      {31, 3, 5, "", 0},  {32, 3, 5, "", 0},  {36, 3, 5, "", 0},  {37, 3, 5, "", 0},
      {43, 3, 5, "", 0},  {46, 3, 5, "", 0},  {53, 3, 5, "", 0},  {54, 3, 5, "", 0},
      {55, 3, 5, "", 0},  {57, 3, 5, "", 0},  {80, 3, 5, "", 0},  {-1, 3, 5, "", 0},
      // Editor opcodes without an editor.
      {13, 3, 5, "", 0},  {14, 3, 5, "", 0},  {15, 3, 5, "", 0},  {19, 3, 5, "", 0},
      {59, 3, 5, "", 0},  {60, 3, 5, "", 0},  {61, 3, 5, "", 0},
  };
  for (const Route& r : routes) {
    RoutingProbe probe;
    const intptr_t result = probe.dispatcher(r.opcode, r.index, r.value, ptrTarget, kOpt);
    const std::vector<std::string> expected =
        *r.call ? std::vector<std::string>{r.call} : std::vector<std::string>{};
    EXPECT_EQ(probe.calls, expected) << "opcode " << r.opcode << " value " << r.value;
    EXPECT_EQ(result, r.result) << "opcode " << r.opcode;
  }
}

// On 64-bit hosts the value slot is wider than the int the operation takes:
// the range checks look at the full value, the operation gets it narrowed.
TEST(FrameDispatcher, WideValuesAreComparedWholeAndNarrowedForIntOperations) {
  if (sizeof(intptr_t) < 8) GTEST_SKIP() << "value slot is 32 bits here";
  const intptr_t wide = static_cast<intptr_t>((static_cast<int64_t>(1) << 32) + 5);
  const std::pair<int32_t, const char*> narrowed[] = {
      {11, "setBlockSize(5)"},
      {73, "setTotalSampleToProcess(5)"},
      {74, "setPanLaw(5,0.25)"},
      {77, "setProcessPrecision(5)"},
  };
  for (const auto& [opcode, call] : narrowed) {
    RoutingProbe probe;
    probe.dispatcher(opcode, 0, wide, nullptr, kOpt);
    EXPECT_EQ(probe.calls, std::vector<std::string>{call}) << "opcode " << opcode;
  }
  RoutingProbe probe;
  probe.dispatcher(effSetProgram, 0, wide, nullptr, 0.0f);  // would be program 5 if narrowed first
  probe.dispatcher(effMainsChanged, 0, static_cast<intptr_t>(static_cast<int64_t>(1) << 32), nullptr,
                   0.0f);
  EXPECT_EQ(probe.calls, std::vector<std::string>{"resume()"});
}

class PlainEffect : public AudioEffectX {
 public:
  PlainEffect() : AudioEffectX(nullptr, 16, 4) {}
  void processReplacing(float**, float**, int32_t) override {}
};

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
  }
  PlainEffect synth;
  synth.isSynth(true);
  EXPECT_EQ(synth.dispatcher(effGetPlugCategory, 0, 0, nullptr, 0.0f), 2);
}

TEST(FrameDispatcher, BaseGetSpeakerArrangementClearsBothTargets) {
  PlainEffect effect;
  VstSpeakerArrangement dummy{};
  VstSpeakerArrangement* in = &dummy;
  VstSpeakerArrangement* out = &dummy;
  EXPECT_EQ(effect.dispatcher(effGetSpeakerArrangement, 0, reinterpret_cast<intptr_t>(&in), &out,
                              0.0f),
            0);
  EXPECT_EQ(in, nullptr);
  EXPECT_EQ(out, nullptr);
}

// An effect that overrides dispatcher and forwards to AudioEffectX must not be
// re-entered for the opcodes AudioEffectX passes on to the base.
TEST(FrameDispatcher, UnhandledOpcodesReachTheBaseWithoutReenteringTheOverride) {
  struct Forwarder : PlainEffect {
    int entries = 0;
    int opens = 0;
    intptr_t dispatcher(int32_t op, int32_t i, intptr_t v, void* p, float o) override {
      ++entries;
      return AudioEffectX::dispatcher(op, i, v, p, o);
    }
    void open() override { ++opens; }
  } effect;
  effect.dispatcher(effOpen, 0, 0, nullptr, 0.0f);
  effect.dispatcher(28, 0, 0, nullptr, 0.0f);
  EXPECT_EQ(effect.entries, 2);
  EXPECT_EQ(effect.opens, 1);
}

class RecordingEditor : public AEffEditor {
 public:
  explicit RecordingEditor(bool answer, std::vector<std::string>* log) : answer(answer), log(log) {}
  bool getRect(EditorRect** r) override { return add("getRect", r == reinterpret_cast<EditorRect**>(ptrTarget)); }
  bool open(void* p) override { return add("open", p == ptrTarget); }
  void close() override { add("close", true); }
  void idle() override { add("idle", true); }
  bool onKeyDown(VstKeyCode& k) override { return add("keyDown " + keyText(k), true); }
  bool onKeyUp(VstKeyCode& k) override { return add("keyUp " + keyText(k), true); }
  bool setKnobMode(int32_t m) override { return add("knobMode " + std::to_string(m), true); }

 private:
  static std::string keyText(const VstKeyCode& k) {
    return std::to_string(k.character) + "/" + std::to_string(k.virt) + "/" + std::to_string(k.modifier);
  }
  bool add(const std::string& what, bool argumentPassed) {
    log->push_back(argumentPassed ? what : what + " (wrong argument)");
    return answer;
  }
  bool answer;
  std::vector<std::string>* log;
};

TEST(FrameDispatcher, EditorOpcodesReachTheInstalledEditor) {
  struct Row {
    int32_t opcode;
    intptr_t value;
    float opt;
    const char* call;
    bool answered;  // result follows the editor's answer (else always 0)
  };
  const Row rows[] = {
      {13, 0, 0.0f, "getRect", true},
      {14, 0, 0.0f, "open", true},
      {15, 0, 0.0f, "close", false},
      {19, 0, 0.0f, "idle", false},
      // character = index, virtual key = low byte of value, modifier = low
      // byte of opt truncated toward zero.
      {59, 0x1FF, 300.7f, "keyDown 65/255/44", true},
      {60, 0x102, -1.5f, "keyUp 65/2/255", true},
      {59, 7, 1e10f, "keyDown 65/7/0", true},
      {59, 7, std::numeric_limits<float>::quiet_NaN(), "keyDown 65/7/0", true},
      {61, 2, 0.0f, "knobMode 2", true},
  };
  for (const bool answer : {true, false}) {
    for (const Row& r : rows) {
      std::vector<std::string> log;
      PlainEffect effect;
      effect.setEditor(new RecordingEditor(answer, &log));
      const intptr_t result = effect.dispatcher(r.opcode, 65, r.value, ptrTarget, r.opt);
      EXPECT_EQ(log, std::vector<std::string>{r.call}) << "opcode " << r.opcode;
      EXPECT_EQ(result, r.answered && answer ? 1 : 0) << "opcode " << r.opcode;
    }
  }
}

}  // namespace
