// AudioEffectX: the extended effect. Adds the dispatcher for opcodes 25..79,
// neutral defaults for the extended operations, the wrappers that ask the
// host for services, and the speaker-arrangement helpers. No data members.
//
// Its 102 virtual operations follow the base's directly: canParameterBeAutomated
// is slot 51, __getChunkFileDeprecated slot 152. The order is a binary
// contract with hosts that call by position; never insert, remove or reorder.
//
// Host wrappers: without a host callback each answers 0, false or null.
#pragma once

#include <cstdint>

#include "frame/AudioEffect.h"
#include "frame/VstTypes.h"

class AudioEffectX : public AudioEffect {
 public:
  AudioEffectX(audioMasterCallback audioMaster, int32_t numPrograms, int32_t numParams);
  ~AudioEffectX() override = default;

  // Host sends an opcode; 25..79 are handled here, everything else and the
  // gaps go to AudioEffect::dispatcher.
  intptr_t dispatcher(int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) override;
  // Host switches processing on; asks for events if the effect wants MIDI.
  void resume() override;

  // Slots 51-53: host asks about a parameter (automatable, set from text, properties).
  virtual bool canParameterBeAutomated(int32_t index) {
    (void)index;
    return true;
  }
  virtual bool string2parameter(int32_t index, char* text) {
    (void)index;
    (void)text;
    return false;
  }
  virtual bool getParameterProperties(int32_t index, VstParameterProperties* p) {
    (void)index;
    (void)p;
    return false;
  }
  // Slots 54-55: the effect's editor brackets a parameter gesture (host opcode 43 / 44).
  virtual bool beginEdit(int32_t index);
  virtual bool endEdit(int32_t index);
  // Slot 56: host reads the name of any program into a buffer of at least 24 bytes.
  virtual bool getProgramNameIndexed(int32_t category, int32_t index, char* text) {
    (void)category;
    (void)index;
    (void)text;
    return false;
  }
  // Slots 57-58: host brackets a program change.
  virtual bool beginSetProgram() { return false; }
  virtual bool endSetProgram() { return false; }
  // Slots 59-60: host announces a bank / program chunk before loading it.
  virtual int32_t beginLoadBank(VstPatchChunkInfo* ptr) {
    (void)ptr;
    return 0;
  }
  virtual int32_t beginLoadProgram(VstPatchChunkInfo* ptr) {
    (void)ptr;
    return 0;
  }

  // Slot 61: the effect tells the host its I/O or latency changed (host opcode 13).
  virtual bool ioChanged();
  // Slots 62-63: the effect asks the host for rate and block size (host opcode 16 / 17).
  virtual float updateSampleRate();
  virtual int32_t updateBlockSize();
  // Slots 64-65: the effect asks the host for its latencies (host opcode 18 / 19).
  virtual int32_t getInputLatency();
  virtual int32_t getOutputLatency();

  // Slots 66-67: host asks for pin descriptions.
  virtual bool getInputProperties(int32_t index, VstPinProperties* properties) {
    (void)index;
    (void)properties;
    return false;
  }
  virtual bool getOutputProperties(int32_t index, VstPinProperties* properties) {
    (void)index;
    (void)properties;
    return false;
  }
  // Slots 68-69: host proposes / reads speaker arrangements.
  virtual bool setSpeakerArrangement(VstSpeakerArrangement* pluginInput,
                                     VstSpeakerArrangement* pluginOutput) {
    (void)pluginInput;
    (void)pluginOutput;
    return false;
  }
  virtual bool getSpeakerArrangement(VstSpeakerArrangement** pluginInput,
                                     VstSpeakerArrangement** pluginOutput);
  // Slots 70-72: host sets bypass, pan law, and process precision (0 single, 1 double).
  virtual bool setBypass(bool onOff) {
    (void)onOff;
    return false;
  }
  virtual bool setPanLaw(int32_t type, float val) {
    (void)type;
    (void)val;
    return false;
  }
  virtual bool setProcessPrecision(int32_t precision) {
    (void)precision;
    return false;
  }
  // Slots 73-74: host asks how many MIDI channels the effect uses.
  virtual int32_t getNumMidiInputChannels() { return 0; }
  virtual int32_t getNumMidiOutputChannels() { return 0; }

  // Slots 75-77: the effect asks the host for time info, process level, automation state.
  virtual VstTimeInfo* getTimeInfo(int32_t filter);
  virtual int32_t getCurrentProcessLevel();
  virtual int32_t getAutomationState();

  // Slot 78: host hands over events before the next block.
  virtual int32_t processEvents(VstEvents* events) {
    (void)events;
    return 0;
  }
  // Slots 79-80: host brackets a run of process calls.
  virtual int32_t startProcess() { return 0; }
  virtual int32_t stopProcess() { return 0; }
  // Slot 81: host requests variable-rate processing.
  virtual bool processVariableIo(VstVariableIo* varIo) {
    (void)varIo;
    return false;
  }
  // Slot 82: host announces the total samples of an offline run; answers it back.
  virtual int32_t setTotalSampleToProcess(int32_t value) { return value; }

  // Slots 83-88: the effect asks the host about itself (host opcodes 32, 33, 34, 35, 37, 38).
  virtual bool getHostVendorString(char* text);
  virtual bool getHostProductString(char* text);
  virtual int32_t getHostVendorVersion();
  virtual intptr_t hostVendorSpecific(int32_t lArg1, intptr_t lArg2, void* ptrArg, float floatArg);
  virtual int32_t canHostDo(char* text);
  virtual int32_t getHostLanguage();

  // Slots 89-90: flags 256 (synthesizer) and 512 (no sound in stop).
  virtual void isSynth(bool state = true) { setFlag(effFlagsIsSynth, state); }
  virtual void noTail(bool state = true) { setFlag(effFlagsNoSoundInStop, state); }
  // Slot 91: host asks for the tail length in samples; 0 = default.
  virtual int32_t getGetTailSize() { return 0; }
  // Slot 92: the effect asks the host for its plug-in directory (host opcode 41).
  virtual void* getDirectory();

  // Slots 93-96: host reads identity texts (name 33, vendor 65, product 65 bytes).
  virtual bool getEffectName(char* name) {
    (void)name;
    return false;
  }
  virtual bool getVendorString(char* text) {
    (void)text;
    return false;
  }
  virtual bool getProductString(char* text) {
    (void)text;
    return false;
  }
  virtual int32_t getVendorVersion() { return 0; }
  // Slot 97: host's private extension calls.
  virtual intptr_t vendorSpecific(int32_t lArg, intptr_t lArg2, void* ptrArg, float floatArg) {
    (void)lArg;
    (void)lArg2;
    (void)ptrArg;
    (void)floatArg;
    return 0;
  }
  // Slot 98: host asks a capability by name; 1 yes, -1 no, 0 don't know.
  virtual int32_t canDo(char* text) {
    (void)text;
    return 0;
  }
  // Slots 99-100: host asks the interface version and the plug-in category.
  virtual int32_t getVstVersion() { return 2400; }
  virtual int32_t getPlugCategory() { return hasFlag(effFlagsIsSynth) ? 2 : 0; }

  // Slots 101-105: host asks about MIDI program and key names.
  virtual int32_t getMidiProgramName(int32_t channel, MidiProgramName* midiProgramName) {
    (void)channel;
    (void)midiProgramName;
    return 0;
  }
  virtual int32_t getCurrentMidiProgram(int32_t channel, MidiProgramName* currentProgram) {
    (void)channel;
    (void)currentProgram;
    return -1;
  }
  virtual int32_t getMidiProgramCategory(int32_t channel, MidiProgramCategory* category) {
    (void)channel;
    (void)category;
    return 0;
  }
  virtual bool hasMidiProgramsChanged(int32_t channel) {
    (void)channel;
    return false;
  }
  virtual bool getMidiKeyName(int32_t channel, MidiKeyName* keyName) {
    (void)channel;
    (void)keyName;
    return false;
  }

  // Slots 106-109: the effect asks the host to redraw, resize, open/close a file selector.
  virtual bool updateDisplay();
  virtual bool sizeWindow(int32_t width, int32_t height);
  virtual bool openFileSelector(VstFileSelect* ptr);
  virtual bool closeFileSelector(VstFileSelect* ptr);
  // Slot 110: shell host enumerates contained plug-ins; this one contains none.
  virtual int32_t getNextShellPlugin(char* name) {
    (void)name;
    return 0;
  }

  // Slots 111-114: speaker arrangements as byte arrays of 8 + numChannels * 112 bytes.
  virtual bool allocateArrangement(VstSpeakerArrangement** arrangement, int32_t nbChannels);
  virtual bool deallocateArrangement(VstSpeakerArrangement** arrangement);
  virtual bool copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from);
  virtual bool matchArrangement(VstSpeakerArrangement** to, VstSpeakerArrangement* from);

  // Slots 115-119: the effect drives an offline run through the host (host opcodes 25-29).
  virtual bool offlineRead(VstOfflineTask* offline, VstOfflineOption option,
                           bool readSource = true);
  virtual bool offlineWrite(VstOfflineTask* offline, VstOfflineOption option);
  virtual bool offlineStart(VstAudioFile* ptr, int32_t numAudioFiles, int32_t numNewAudioFiles);
  virtual int32_t offlineGetCurrentPass();
  virtual int32_t offlineGetCurrentMetaPass();
  // Slots 120-124: host drives the effect's offline processing.
  virtual bool offlineNotify(VstAudioFile* ptr, int32_t numAudioFiles, bool start) {
    (void)ptr;
    (void)numAudioFiles;
    (void)start;
    return false;
  }
  virtual bool offlinePrepare(VstOfflineTask* offline, int32_t count) {
    (void)offline;
    (void)count;
    return false;
  }
  virtual bool offlineRun(VstOfflineTask* offline, int32_t count) {
    (void)offline;
    (void)count;
    return false;
  }
  virtual int32_t offlineGetNumPasses() { return 0; }
  virtual int32_t offlineGetNumMetaPasses() { return 0; }

  // Slots 125-152: deprecated operations, kept for their slots.
  virtual void __wantEventsDeprecated(int32_t filter = 1);
  virtual int32_t __tempoAtDeprecated(int32_t pos);
  virtual int32_t __getNumAutomatableParametersDeprecated();
  virtual int32_t __getParameterQuantizationDeprecated();
  virtual int32_t __getNumCategoriesDeprecated() { return 1; }
  virtual bool __copyProgramDeprecated(int32_t destination) {
    (void)destination;
    return false;
  }
  virtual bool __needIdleDeprecated();
  virtual AEffect* __getPreviousPlugDeprecated(int32_t input);
  virtual AEffect* __getNextPlugDeprecated(int32_t output);
  virtual void __inputConnectedDeprecated(int32_t index, bool state) {
    (void)index;
    (void)state;
  }
  virtual void __outputConnectedDeprecated(int32_t index, bool state) {
    (void)index;
    (void)state;
  }
  virtual int32_t __willProcessReplacingDeprecated();
  virtual void __wantAsyncOperationDeprecated(bool state = true) {
    setFlag(effFlagsExtIsAsync, state);
  }
  virtual void __hasExternalBufferDeprecated(bool state = true) {
    setFlag(effFlagsExtHasBuffer, state);
  }
  virtual int32_t __reportCurrentPositionDeprecated() { return 0; }
  virtual float* __reportDestinationBufferDeprecated() { return nullptr; }
  virtual void __setOutputSamplerateDeprecated(float samplerate);
  virtual VstSpeakerArrangement* __getInputSpeakerArrangementDeprecated();
  virtual VstSpeakerArrangement* __getOutputSpeakerArrangementDeprecated();
  virtual void* __openWindowDeprecated(__VstWindowDeprecated* window);
  virtual bool __closeWindowDeprecated(__VstWindowDeprecated* window);
  virtual void __setBlockSizeAndSampleRateDeprecated(int32_t newBlockSize, float newSampleRate) {
    blockSize = newBlockSize;
    sampleRate = newSampleRate;
  }
  virtual bool __getErrorTextDeprecated(char* text) {
    (void)text;
    return false;
  }
  virtual void* __getIconDeprecated() { return nullptr; }
  virtual bool __setViewPositionDeprecated(int32_t x, int32_t y) {
    (void)x;
    (void)y;
    return false;
  }
  virtual int32_t __fxIdleDeprecated() { return 0; }
  virtual bool __keysRequiredDeprecated() { return false; }
  virtual bool __getChunkFileDeprecated(void* nativePath);

  // The effect sends events to the host (host opcode 8); true only on an answer of 1.
  bool sendVstEventsToHost(VstEvents* events);
};
