// An effect that records every operation it is asked for, with its
// arguments, instead of doing it: the dispatcher tests see which operation an
// opcode reaches, the virtual-table test which operation a slot reaches.
// Recorded int operations answer kAnswer, bool ones true.
#pragma once

#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "frame/AEffEditor.h"
#include "frame/QTypeBase.h"

namespace recording {

inline char P[256];  // the pointer argument tests pass in ptr
inline char V[256];  // the pointer tests pass in an integer argument
constexpr int32_t kAnswer = 77;

template <typename T>
std::string describe(T v) {
  if constexpr (std::is_pointer_v<T>) {
    const void* p = v;
    return p == P ? "P" : p == V ? "V" : p == nullptr ? "null" : "?";
  } else if constexpr (std::is_same_v<T, bool>) {
    return v ? "true" : "false";
  } else {
    std::ostringstream s;
    s << v;
    return s.str();
  }
}

// Converts to true for bool operations and to kAnswer for int operations.
struct Answer {
  operator bool() const { return true; }
  operator int32_t() const { return kAnswer; }
};

struct Log {
  std::vector<std::string> calls;
  template <typename... A>
  Answer note(const char* name, A... args) {
    std::string call = std::string(name) + "(", separator;
    ((call += separator + describe(args), separator = ","), ...);
    calls.push_back(call + ")");
    return {};
  }
};
#define NOTE(...) log.note(__func__ __VA_OPT__(, ) __VA_ARGS__)

struct RecordingEditor : AEffEditor {
  explicit RecordingEditor(Log& log) : log(log) {}
  Log& log;
  bool getRect(EditorRect** r) override { return NOTE(r); }
  bool open(void* p) override { return NOTE(p); }
  void close() override { NOTE(); }
  void idle() override { NOTE(); }
  bool onKeyDown(VstKeyCode& k) override { return NOTE(k.character, int(k.virt), int(k.modifier)); }
  bool onKeyUp(VstKeyCode& k) override { return NOTE(k.character, int(k.virt), int(k.modifier)); }
  bool setKnobMode(int32_t m) override { return NOTE(m); }
};

// Records every operation the dispatchers reach, with its arguments.
struct RecordingEffect : Q_TypeBase {
  Log log;
  explicit RecordingEffect(audioMasterCallback host = nullptr) : Q_TypeBase(host, 16, 4) {
    setEditor(new RecordingEditor(log));
  }
  void processReplacing(float**, float**, int32_t n) override { NOTE(n); }
  void open() override { NOTE(); }
  void close() override { NOTE(); }
  void suspend() override { NOTE(); }
  void resume() override { NOTE(); }
  void setSampleRate(float r) override { NOTE(r); }
  void setBlockSize(int32_t b) override { NOTE(b); }
  int32_t getProgram() override { return NOTE(); }
  void setProgram(int32_t p) override { NOTE(p); }
  void setProgramName(char* n) override { NOTE(n); }
  void getProgramName(char* n) override { NOTE(n); }
  void getParameterLabel(int32_t i, char* t) override { NOTE(i, t); }
  void getParameterDisplay(int32_t i, char* t) override { NOTE(i, t); }
  void getParameterName(int32_t i, char* t) override { NOTE(i, t); }
  int32_t getChunk(void** d, bool p) override { return NOTE(d, p); }
  int32_t setChunk(void* d, int32_t n, bool p) override { return NOTE(d, n, p); }
  int32_t processEvents(VstEvents* e) override { return NOTE(e); }
  bool canParameterBeAutomated(int32_t i) override { return NOTE(i); }
  bool string2parameter(int32_t i, char* t) override { return NOTE(i, t); }
  bool getProgramNameIndexed(int32_t c, int32_t i, char* t) override { return NOTE(c, i, t); }
  bool getInputProperties(int32_t i, VstPinProperties* p) override { return NOTE(i, p); }
  bool getOutputProperties(int32_t i, VstPinProperties* p) override { return NOTE(i, p); }
  int32_t getPlugCategory() override { return NOTE(); }
  bool offlineNotify(VstAudioFile* f, int32_t n, bool s) override { return NOTE(f, n, s); }
  bool offlinePrepare(VstOfflineTask* t, int32_t n) override { return NOTE(t, n); }
  bool offlineRun(VstOfflineTask* t, int32_t n) override { return NOTE(t, n); }
  bool processVariableIo(VstVariableIo* v) override { return NOTE(v); }
  bool setSpeakerArrangement(VstSpeakerArrangement* i, VstSpeakerArrangement* o) override {
    return NOTE(i, o);
  }
  bool setBypass(bool b) override { return NOTE(b); }
  bool getEffectName(char* t) override { return NOTE(t); }
  bool getVendorString(char* t) override { return NOTE(t); }
  bool getProductString(char* t) override { return NOTE(t); }
  int32_t getVendorVersion() override { return NOTE(); }
  intptr_t vendorSpecific(int32_t a, intptr_t b, void* p, float f) override {
    return int32_t(NOTE(a, b, p, f));
  }
  int32_t canDo(char* t) override { return NOTE(t); }
  int32_t getGetTailSize() override { return NOTE(); }
  bool getParameterProperties(int32_t i, VstParameterProperties* p) override { return NOTE(i, p); }
  int32_t getVstVersion() override { return NOTE(); }
  int32_t getMidiProgramName(int32_t c, MidiProgramName* n) override { return NOTE(c, n); }
  int32_t getCurrentMidiProgram(int32_t c, MidiProgramName* n) override { return NOTE(c, n); }
  int32_t getMidiProgramCategory(int32_t c, MidiProgramCategory* n) override { return NOTE(c, n); }
  bool hasMidiProgramsChanged(int32_t c) override { return NOTE(c); }
  bool getMidiKeyName(int32_t c, MidiKeyName* k) override { return NOTE(c, k); }
  bool beginSetProgram() override { return NOTE(); }
  bool endSetProgram() override { return NOTE(); }
  bool getSpeakerArrangement(VstSpeakerArrangement** i, VstSpeakerArrangement** o) override {
    return NOTE(i, o);
  }
  int32_t getNextShellPlugin(char* n) override { return NOTE(n); }
  int32_t startProcess() override { return NOTE(); }
  int32_t stopProcess() override { return NOTE(); }
  int32_t setTotalSampleToProcess(int32_t v) override { return NOTE(v); }
  bool setPanLaw(int32_t t, float v) override { return NOTE(t, v); }
  int32_t beginLoadBank(VstPatchChunkInfo* p) override { return NOTE(p); }
  int32_t beginLoadProgram(VstPatchChunkInfo* p) override { return NOTE(p); }
  bool setProcessPrecision(int32_t p) override { return NOTE(p); }
  int32_t getNumMidiInputChannels() override { return NOTE(); }
  int32_t getNumMidiOutputChannels() override { return NOTE(); }
  // Neutral defaults no opcode reaches; the virtual-table test calls them by position.
  void processDoubleReplacing(double**, double**, int32_t n) override { NOTE(n); }
  void setParameter(int32_t i, float v) override { NOTE(i, v); }
  float getParameter(int32_t i) override { return NOTE(i), 0.5f; }
  AEffEditor* getEditor() override { return NOTE(), nullptr; }
  void __processDeprecated(float**, float**, int32_t n) override { NOTE(n); }
  float __getVuDeprecated() override { return NOTE(), 0.5f; }
  int32_t offlineGetNumPasses() override { return NOTE(); }
  int32_t offlineGetNumMetaPasses() override { return NOTE(); }
  bool __copyProgramDeprecated(int32_t d) override { return NOTE(d); }
  void __inputConnectedDeprecated(int32_t i, bool s) override { NOTE(i, s); }
  void __outputConnectedDeprecated(int32_t i, bool s) override { NOTE(i, s); }
  int32_t __reportCurrentPositionDeprecated() override { return NOTE(); }
  float* __reportDestinationBufferDeprecated() override { return NOTE(), nullptr; }
  bool __getErrorTextDeprecated(char* t) override { return NOTE(t); }
  void* __getIconDeprecated() override { return NOTE(), nullptr; }
  bool __setViewPositionDeprecated(int32_t x, int32_t y) override { return NOTE(x, y); }
  int32_t __fxIdleDeprecated() override { return NOTE(); }
  bool __keysRequiredDeprecated() override { return NOTE(); }
  int32_t getNumOfInJacks() override { return NOTE(); }
  int32_t getNumOfOutJacks() override { return NOTE(); }
  int32_t getNumOfInSig(int32_t j) override { return NOTE(j); }
  int32_t getNumOfOutSig(int32_t j) override { return NOTE(j); }
  int32_t getStartNumInSig(int32_t j) override { return NOTE(j); }
  int32_t getStartNumOutSig(int32_t j) override { return NOTE(j); }
  int32_t getDryInSigNum() override { return NOTE(); }
  void setListner(Q_VstListner* l) override { NOTE(l); }
  void getParameterDisplayOf(int32_t i, float v, char* t) override { NOTE(i, v, t); }
  int32_t getHeaderVersion() override { return NOTE(); }
  void setTime(float t) override { NOTE(t); }
};

}  // namespace recording
