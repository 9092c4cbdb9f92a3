#include "frame/AudioEffectX.h"

#include <cmath>
#include <cstring>
#include <new>

#include "frame/AEffEditor.h"
#include "frame/CanDos.h"

namespace {

intptr_t asResult(bool answer) { return answer ? 1 : 0; }

// Key code the editor receives for opcodes 59 and 60: character from index,
// virtual key from the low 8 bits of value, modifier from the low 8 bits of
// opt truncated toward zero. A float of magnitude 2^31 or more is a multiple
// of 256, so its low byte is 0; NaN and infinities give 0 as well, which also
// keeps the conversion defined.
VstKeyCode keyCodeFrom(int32_t index, intptr_t value, float opt) {
  VstKeyCode key;
  key.character = index;
  key.virt = static_cast<unsigned char>(value & 0xFF);
  key.modifier = std::fabs(opt) < 2147483648.0f
                     ? static_cast<unsigned char>(static_cast<int32_t>(opt) & 0xFF)
                     : 0;
  return key;
}

}  // namespace

AudioEffectX::AudioEffectX(audioMasterCallback audioMaster, int32_t numPrograms, int32_t numParams)
    : AudioEffect(audioMaster, numPrograms, numParams) {}

// ---------------------------------------------------------------------------
// Opcodes 25..79. The gaps (28, 30, 31, 32, 36, 37, 43, 46, 53, 54, 55, 57)
// and everything outside the range go straight to the base dispatcher, never
// through the virtual slot, so an override of dispatcher cannot loop.

intptr_t AudioEffectX::dispatcher(int32_t opcode, int32_t index, intptr_t value, void* ptr,
                                  float opt) {
  switch (opcode) {
    case effProcessEvents:
      return processEvents(static_cast<VstEvents*>(ptr));
    case effCanBeAutomated:
      return asResult(canParameterBeAutomated(index));
    case effString2Parameter:
      return asResult(string2parameter(index, static_cast<char*>(ptr)));
    case effGetProgramNameIndexed:
      return asResult(
          getProgramNameIndexed(static_cast<int32_t>(value), index, static_cast<char*>(ptr)));
    case effGetInputProperties:
      return asResult(getInputProperties(index, static_cast<VstPinProperties*>(ptr)));
    case effGetOutputProperties:
      return asResult(getOutputProperties(index, static_cast<VstPinProperties*>(ptr)));
    case effGetPlugCategory:
      return getPlugCategory();
    case effOfflineNotify:
      return asResult(
          offlineNotify(static_cast<VstAudioFile*>(ptr), static_cast<int32_t>(value), index != 0));
    case effOfflinePrepare:
      return asResult(
          offlinePrepare(static_cast<VstOfflineTask*>(ptr), static_cast<int32_t>(value)));
    case effOfflineRun:
      return asResult(offlineRun(static_cast<VstOfflineTask*>(ptr), static_cast<int32_t>(value)));
    case effProcessVarIo:
      return asResult(processVariableIo(static_cast<VstVariableIo*>(ptr)));
    case effSetSpeakerArrangement:
      return asResult(setSpeakerArrangement(reinterpret_cast<VstSpeakerArrangement*>(value),
                                            static_cast<VstSpeakerArrangement*>(ptr)));
    case effSetBypass:
      return asResult(setBypass(value != 0));
    case effGetEffectName:
      return asResult(getEffectName(static_cast<char*>(ptr)));
    case effGetVendorString:
      return asResult(getVendorString(static_cast<char*>(ptr)));
    case effGetProductString:
      return asResult(getProductString(static_cast<char*>(ptr)));
    case effGetVendorVersion:
      return getVendorVersion();
    case effVendorSpecific:
      return vendorSpecific(index, value, ptr, opt);
    case effCanDo:
      return canDo(static_cast<char*>(ptr));
    case effGetTailSize:
      return getGetTailSize();
    case effGetParameterProperties:
      return asResult(getParameterProperties(index, static_cast<VstParameterProperties*>(ptr)));
    case effGetVstVersion:
      return getVstVersion();
    case effEditKeyDown:
      if (editor == nullptr) return 0;
      {
        VstKeyCode key = keyCodeFrom(index, value, opt);
        return asResult(editor->onKeyDown(key));
      }
    case effEditKeyUp:
      if (editor == nullptr) return 0;
      {
        VstKeyCode key = keyCodeFrom(index, value, opt);
        return asResult(editor->onKeyUp(key));
      }
    case effSetEditKnobMode:
      return editor != nullptr ? asResult(editor->setKnobMode(static_cast<int32_t>(value))) : 0;
    case effGetMidiProgramName:
      return getMidiProgramName(index, static_cast<MidiProgramName*>(ptr));
    case effGetCurrentMidiProgram:
      return getCurrentMidiProgram(index, static_cast<MidiProgramName*>(ptr));
    case effGetMidiProgramCategory:
      return getMidiProgramCategory(index, static_cast<MidiProgramCategory*>(ptr));
    case effHasMidiProgramsChanged:
      return asResult(hasMidiProgramsChanged(index));
    case effGetMidiKeyName:
      return asResult(getMidiKeyName(index, static_cast<MidiKeyName*>(ptr)));
    case effBeginSetProgram:
      return asResult(beginSetProgram());
    case effEndSetProgram:
      return asResult(endSetProgram());
    case effGetSpeakerArrangement:
      return asResult(getSpeakerArrangement(reinterpret_cast<VstSpeakerArrangement**>(value),
                                            static_cast<VstSpeakerArrangement**>(ptr)));
    case effShellGetNextPlugin:
      return getNextShellPlugin(static_cast<char*>(ptr));
    case effStartProcess:
      return startProcess();
    case effStopProcess:
      return stopProcess();
    case effSetTotalSampleToProcess:
      return setTotalSampleToProcess(static_cast<int32_t>(value));
    case effSetPanLaw:
      return asResult(setPanLaw(static_cast<int32_t>(value), opt));
    case effBeginLoadBank:
      return beginLoadBank(static_cast<VstPatchChunkInfo*>(ptr));
    case effBeginLoadProgram:
      return beginLoadProgram(static_cast<VstPatchChunkInfo*>(ptr));
    case effSetProcessPrecision:
      return asResult(setProcessPrecision(static_cast<int32_t>(value)));
    case effGetNumMidiInputChannels:
      return getNumMidiInputChannels();
    case effGetNumMidiOutputChannels:
      return getNumMidiOutputChannels();
    default:
      return AudioEffect::dispatcher(opcode, index, value, ptr, opt);
  }
}

// Asks the host for events when the effect is a synthesizer or takes MIDI.
void AudioEffectX::resume() {
  char query[32];
  std::strncpy(query, PlugCanDos::canDoReceiveVstMidiEvent, sizeof(query) - 1);
  query[sizeof(query) - 1] = 0;
  if (hasFlag(effFlagsIsSynth) || canDo(query) == 1) __wantEventsDeprecated(1);
}

bool AudioEffectX::getSpeakerArrangement(VstSpeakerArrangement** pluginInput,
                                         VstSpeakerArrangement** pluginOutput) {
  if (pluginInput != nullptr) *pluginInput = nullptr;
  if (pluginOutput != nullptr) *pluginOutput = nullptr;
  return false;
}

// ---------------------------------------------------------------------------
// Rate and block size from the host. The rate falls back to 44100 Hz, not to
// the previous value, when the host has no answer.

float AudioEffectX::updateSampleRate() {
  sampleRate = 44100.0f;
  const intptr_t answer = callHost(audioMasterGetSampleRate);
  if (answer > 0) sampleRate = static_cast<float>(answer);
  return sampleRate;
}

int32_t AudioEffectX::updateBlockSize() {
  const intptr_t answer = callHost(audioMasterGetBlockSize);
  if (answer > 0) blockSize = static_cast<int32_t>(answer);
  return blockSize;
}

// ---------------------------------------------------------------------------
// Host-call wrappers. callHost answers 0 without a host, which gives every
// wrapper its fallback (0, false or null).

bool AudioEffectX::beginEdit(int32_t index) { return callHost(audioMasterBeginEdit, index) != 0; }

bool AudioEffectX::endEdit(int32_t index) { return callHost(audioMasterEndEdit, index) != 0; }

bool AudioEffectX::ioChanged() { return callHost(audioMasterIOChanged) != 0; }

int32_t AudioEffectX::getInputLatency() {
  return static_cast<int32_t>(callHost(audioMasterGetInputLatency));
}

int32_t AudioEffectX::getOutputLatency() {
  return static_cast<int32_t>(callHost(audioMasterGetOutputLatency));
}

VstTimeInfo* AudioEffectX::getTimeInfo(int32_t filter) {
  return reinterpret_cast<VstTimeInfo*>(callHost(audioMasterGetTime, 0, filter));
}

int32_t AudioEffectX::getCurrentProcessLevel() {
  return static_cast<int32_t>(callHost(audioMasterGetCurrentProcessLevel));
}

int32_t AudioEffectX::getAutomationState() {
  return static_cast<int32_t>(callHost(audioMasterGetAutomationState));
}

bool AudioEffectX::getHostVendorString(char* text) {
  return callHost(audioMasterGetVendorString, 0, 0, text) != 0;
}

bool AudioEffectX::getHostProductString(char* text) {
  return callHost(audioMasterGetProductString, 0, 0, text) != 0;
}

int32_t AudioEffectX::getHostVendorVersion() {
  return static_cast<int32_t>(callHost(audioMasterGetVendorVersion));
}

intptr_t AudioEffectX::hostVendorSpecific(int32_t lArg1, intptr_t lArg2, void* ptrArg,
                                          float floatArg) {
  return callHost(audioMasterVendorSpecific, lArg1, lArg2, ptrArg, floatArg);
}

int32_t AudioEffectX::canHostDo(char* text) {
  return callHost(audioMasterCanDo, 0, 0, text) != 0 ? 1 : 0;
}

int32_t AudioEffectX::getHostLanguage() {
  return static_cast<int32_t>(callHost(audioMasterGetLanguage));
}

void* AudioEffectX::getDirectory() {
  return reinterpret_cast<void*>(callHost(audioMasterGetDirectory));
}

bool AudioEffectX::updateDisplay() { return callHost(audioMasterUpdateDisplay) != 0; }

bool AudioEffectX::sizeWindow(int32_t width, int32_t height) {
  return callHost(audioMasterSizeWindow, width, height) != 0;
}

bool AudioEffectX::openFileSelector(VstFileSelect* ptr) {
  return ptr != nullptr && callHost(audioMasterOpenFileSelector, 0, 0, ptr) != 0;
}

bool AudioEffectX::closeFileSelector(VstFileSelect* ptr) {
  return ptr != nullptr && callHost(audioMasterCloseFileSelector, 0, 0, ptr) != 0;
}

bool AudioEffectX::offlineRead(VstOfflineTask* offline, VstOfflineOption option, bool readSource) {
  return callHost(audioMasterOfflineRead, readSource ? 1 : 0, option, offline) != 0;
}

bool AudioEffectX::offlineWrite(VstOfflineTask* offline, VstOfflineOption option) {
  return callHost(audioMasterOfflineWrite, 0, option, offline) != 0;
}

bool AudioEffectX::offlineStart(VstAudioFile* ptr, int32_t numAudioFiles,
                                int32_t numNewAudioFiles) {
  return callHost(audioMasterOfflineStart, numNewAudioFiles, numAudioFiles, ptr) != 0;
}

int32_t AudioEffectX::offlineGetCurrentPass() {
  return callHost(audioMasterOfflineGetCurrentPass) != 0 ? 1 : 0;
}

int32_t AudioEffectX::offlineGetCurrentMetaPass() {
  return callHost(audioMasterOfflineGetCurrentMetaPass) != 0 ? 1 : 0;
}

void AudioEffectX::__wantEventsDeprecated(int32_t filter) {
  callHost(audioMasterWantMidi, 0, filter);
}

int32_t AudioEffectX::__tempoAtDeprecated(int32_t pos) {
  return static_cast<int32_t>(callHost(audioMasterTempoAt, 0, pos));
}

int32_t AudioEffectX::__getNumAutomatableParametersDeprecated() {
  return static_cast<int32_t>(callHost(audioMasterGetNumAutomatableParameters));
}

int32_t AudioEffectX::__getParameterQuantizationDeprecated() {
  return static_cast<int32_t>(callHost(audioMasterGetParameterQuantization));
}

bool AudioEffectX::__needIdleDeprecated() { return callHost(audioMasterNeedIdle) != 0; }

// The plug number is not sent: the host answers with its neighbour as it sees it.
AEffect* AudioEffectX::__getPreviousPlugDeprecated(int32_t input) {
  (void)input;
  return reinterpret_cast<AEffect*>(callHost(audioMasterGetPreviousPlug));
}

AEffect* AudioEffectX::__getNextPlugDeprecated(int32_t output) {
  (void)output;
  return reinterpret_cast<AEffect*>(callHost(audioMasterGetNextPlug));
}

int32_t AudioEffectX::__willProcessReplacingDeprecated() {
  return static_cast<int32_t>(callHost(audioMasterWillReplaceOrAccumulate));
}

void AudioEffectX::__setOutputSamplerateDeprecated(float samplerate) {
  callHost(audioMasterSetOutputSampleRate, 0, 0, nullptr, samplerate);
}

VstSpeakerArrangement* AudioEffectX::__getInputSpeakerArrangementDeprecated() {
  return reinterpret_cast<VstSpeakerArrangement*>(callHost(audioMasterGetInputSpeakerArrangement));
}

VstSpeakerArrangement* AudioEffectX::__getOutputSpeakerArrangementDeprecated() {
  return reinterpret_cast<VstSpeakerArrangement*>(callHost(audioMasterGetOutputSpeakerArrangement));
}

void* AudioEffectX::__openWindowDeprecated(__VstWindowDeprecated* window) {
  return reinterpret_cast<void*>(callHost(audioMasterOpenWindow, 0, 0, window));
}

bool AudioEffectX::__closeWindowDeprecated(__VstWindowDeprecated* window) {
  return callHost(audioMasterCloseWindow, 0, 0, window) != 0;
}

bool AudioEffectX::__getChunkFileDeprecated(void* nativePath) {
  return nativePath != nullptr && callHost(audioMasterGetChunkFile, 0, 0, nativePath) != 0;
}

bool AudioEffectX::sendVstEventsToHost(VstEvents* events) {
  return callHost(audioMasterProcessEvents, 0, 0, events) == 1;
}

// ---------------------------------------------------------------------------
// Speaker arrangements: byte arrays of 8 + numChannels * 112 bytes, zeroed.

bool AudioEffectX::allocateArrangement(VstSpeakerArrangement** arrangement, int32_t nbChannels) {
  if (arrangement == nullptr) return false;
  if (*arrangement != nullptr) {
    delete[] reinterpret_cast<char*>(*arrangement);
    *arrangement = nullptr;  // never left pointing at the released array
  }
  // A negative count, or one whose byte size does not fit, cannot be allocated.
  const std::size_t maxChannels =
      (static_cast<std::size_t>(-1) - speakerArrangementBytes(0)) / sizeof(VstSpeakerProperties);
  if (nbChannels < 0 || static_cast<std::size_t>(nbChannels) > maxChannels) return false;

  const std::size_t bytes = speakerArrangementBytes(static_cast<std::size_t>(nbChannels));
  char* memory = new (std::nothrow) char[bytes];
  if (memory == nullptr) return false;
  std::memset(memory, 0, bytes);
  *arrangement = reinterpret_cast<VstSpeakerArrangement*>(memory);
  (*arrangement)->numChannels = nbChannels;
  return true;
}

bool AudioEffectX::deallocateArrangement(VstSpeakerArrangement** arrangement) {
  if (arrangement != nullptr && *arrangement != nullptr) {
    delete[] reinterpret_cast<char*>(*arrangement);
    *arrangement = nullptr;
  }
  return true;
}

bool AudioEffectX::copySpeaker(VstSpeakerProperties* to, VstSpeakerProperties* from) {
  if (to == nullptr || from == nullptr) return false;
  // At most 63 characters; the rest of the field is zero-filled.
  std::strncpy(to->name, from->name, 63);
  to->name[63] = 0;
  to->type = from->type;
  to->azimuth = from->azimuth;
  to->elevation = from->elevation;
  to->radius = from->radius;
  to->reserved = from->reserved;
  std::memcpy(to->future, from->future, sizeof(to->future));
  return true;
}

// Replaces *to by a copy of `from`. Goes through the virtual operations so an
// effect's own allocation or copy is honoured.
bool AudioEffectX::matchArrangement(VstSpeakerArrangement** to, VstSpeakerArrangement* from) {
  if (from == nullptr) return false;
  if (!deallocateArrangement(to)) return false;
  if (!allocateArrangement(to, from->numChannels)) return false;
  (*to)->type = from->type;
  for (int32_t i = 0; i < (*to)->numChannels; ++i) {
    const std::size_t channel = static_cast<std::size_t>(i);
    if (!copySpeaker(speakerAt(*to, channel), speakerAt(from, channel))) return false;
  }
  return true;
}
