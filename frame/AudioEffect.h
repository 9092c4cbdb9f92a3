// AudioEffect: root of every effect class. It owns the AEffect record a host
// sees, keeps the host callback and the standard state, bridges the record's
// six function pointers to virtual operations and answers opcodes 0..24.
//
// The order of the virtual operations is a binary contract: a host calls
// some of them by their position in the virtual table. Destructor slots 0 and
// 1, then dispatcher at slot 2 up to __setOfflineQualitiesDeprecated at slot
// 50. Never insert, remove or reorder a virtual here.
#pragma once

#include <atomic>
#include <cstdint>

#include "frame/AEffect.h"

class AEffEditor;

class AudioEffect {
 public:
  AudioEffect(audioMasterCallback audioMaster, int32_t numPrograms, int32_t numParams);

  // Host (through the close opcode) ends the instance; deletes the editor.
  virtual ~AudioEffect();

  // Host sends an opcode through the record; any thread, any time after creation.
  virtual intptr_t dispatcher(int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt);

  // Host opens the effect once after creation, before anything else.
  virtual void open() {}
  // Host closes the effect just before the instance is deleted.
  virtual void close() {}
  // Host stops processing (mains off); no block runs until resume.
  virtual void suspend() {}
  // Host starts processing (mains on); blocks may follow.
  virtual void resume() {}
  // Host sets the sample rate in Hz while processing is stopped.
  virtual void setSampleRate(float sampleRate);
  // Host sets the largest block length in samples while processing is stopped.
  virtual void setBlockSize(int32_t blockSize);

  // Host's audio thread hands over one block of single-precision audio.
  virtual void processReplacing(float** inputs, float** outputs, int32_t sampleFrames) = 0;
  // Host's audio thread hands over one block of double-precision audio.
  virtual void processDoubleReplacing(double** inputs, double** outputs, int32_t sampleFrames) {
    (void)inputs;
    (void)outputs;
    (void)sampleFrames;
  }

  // Host sets a parameter to a normalised value 0..1; any control thread.
  virtual void setParameter(int32_t index, float value) {
    (void)index;
    (void)value;
  }
  // Host reads a parameter's normalised value; any thread.
  virtual float getParameter(int32_t index) {
    (void)index;
    return 0.0f;
  }
  // The effect (e.g. its editor) changes a parameter and tells the host.
  virtual void setParameterAutomated(int32_t index, float value);

  // Host reads the current program number.
  virtual int32_t getProgram();
  // Host selects a program; the base stores the number without a range check.
  virtual void setProgram(int32_t program);
  // Host renames the current program; `name` holds at most 23 characters.
  virtual void setProgramName(char* name) { (void)name; }
  // Host reads the current program's name into a buffer of at least 24 bytes.
  virtual void getProgramName(char* name);
  // Host reads a parameter's unit label into a buffer of at least 9 bytes.
  virtual void getParameterLabel(int32_t index, char* label);
  // Host reads a parameter's value text into a buffer of at least 9 bytes.
  virtual void getParameterDisplay(int32_t index, char* text);
  // Host reads a parameter's name into a buffer of at least 9 bytes.
  virtual void getParameterName(int32_t index, char* text);

  // Host asks for the state as an opaque chunk; answers its byte size, 0 = none.
  virtual int32_t getChunk(void** data, bool isPreset = false) {
    (void)data;
    (void)isPreset;
    return 0;
  }
  // Host restores a chunk of byteSize bytes; answers non-zero when taken.
  virtual int32_t setChunk(void* data, int32_t byteSize, bool isPreset = false) {
    (void)data;
    (void)byteSize;
    (void)isPreset;
    return 0;
  }

  // Record setters, called by the effect while it builds itself.
  virtual void setUniqueID(int32_t iD) { cEffect.uniqueID = iD; }
  virtual void setNumInputs(int32_t inputs) { cEffect.numInputs = inputs; }
  virtual void setNumOutputs(int32_t outputs) { cEffect.numOutputs = outputs; }
  virtual void canProcessReplacing(bool state = true) { setFlag(effFlagsCanReplacing, state); }
  virtual void canDoubleReplacing(bool state = true) { setFlag(effFlagsCanDoubleReplacing, state); }
  virtual void programsAreChunks(bool state = true) { setFlag(effFlagsProgramChunks, state); }
  virtual void setInitialDelay(int32_t delay) { cEffect.initialDelay = delay; }

  // Plain getters; any thread.
  virtual AEffEditor* getEditor() { return editor; }
  virtual AEffect* getAeffect() { return &cEffect; }
  virtual float getSampleRate() { return sampleRate; }
  virtual int32_t getBlockSize() { return blockSize; }

  // Host queries through the callback; 1 / 0 / true when there is no host.
  virtual int32_t getMasterVersion();
  virtual int32_t getCurrentUniqueId();
  virtual void masterIdle();
  virtual bool isInputConnected(int32_t input);
  virtual bool isOutputConnected(int32_t output);

  // Value-to-text: at most maxLen characters plus a terminating zero; the
  // caller's buffer holds maxLen + 1 bytes.
  virtual void dB2string(float value, char* text, int32_t maxLen);
  virtual void Hz2string(float samples, char* text, int32_t maxLen);
  virtual void ms2string(float samples, char* text, int32_t maxLen);
  virtual void float2string(float value, char* text, int32_t maxLen);
  virtual void int2string(int32_t value, char* text, int32_t maxLen);

  // Deprecated accumulating process entry; the base ignores it.
  virtual void __processDeprecated(float** inputs, float** outputs, int32_t sampleFrames) {
    (void)inputs;
    (void)outputs;
    (void)sampleFrames;
  }
  virtual float __getVuDeprecated() { return 0.0f; }
  virtual void __hasVuDeprecated(bool state = true) { setFlag(effFlagsHasVu, state); }
  virtual void __hasClipDeprecated(bool state = true) { setFlag(effFlagsHasClip, state); }
  virtual void __canMonoDeprecated(bool state = true) { setFlag(effFlagsCanMono, state); }
  virtual void __setRealtimeQualitiesDeprecated(int32_t qualities) {
    cEffect.realQualities = qualities;
  }
  virtual void __setOfflineQualitiesDeprecated(int32_t qualities) {
    cEffect.offQualities = qualities;
  }

  // Installs (or, with null, removes) the editor and keeps flag 1 in step.
  // The effect owns the editor from then on.
  void setEditor(AEffEditor* newEditor);

  // The record's entry points. Each finds the effect through the record's
  // object field and forwards to the virtual operation; no exception ever
  // leaves them (a throwing call answers 0 or does nothing).
  static intptr_t dispatchEffectClass(AEffect* e, int32_t opcode, int32_t index, intptr_t value,
                                      void* ptr, float opt);
  static void processClassReplacing(AEffect* e, float** inputs, float** outputs,
                                    int32_t sampleFrames);
  static void processClassDoubleReplacing(AEffect* e, double** inputs, double** outputs,
                                          int32_t sampleFrames);
  static void __processClassDeprecated(AEffect* e, float** inputs, float** outputs,
                                       int32_t sampleFrames);
  static void setParameterClass(AEffect* e, int32_t index, float value);
  static float getParameterClass(AEffect* e, int32_t index);

 protected:
  // Ors `bit` into the record's flags when state is true, clears it otherwise.
  void setFlag(int32_t bit, bool state);
  bool hasFlag(int32_t bit) const { return (cEffect.flags & bit) != 0; }
  // Calls the host with this record; answers 0 without calling when there is
  // no host callback (every wrapper's fallback follows from that).
  intptr_t callHost(int32_t opcode, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr,
                    float opt = 0.0f);

  audioMasterCallback audioMaster;
  AEffEditor* editor;
  float sampleRate;
  int32_t blockSize;
  int32_t numPrograms;
  int32_t numParams;
  std::atomic<int32_t> curProgram;  // relaxed loads and stores only
  AEffect cEffect;
};
