#include "frame/AudioEffect.h"

#include <cstring>

#include "frame/AEffEditor.h"

namespace {

constexpr int32_t kBaseUniqueId = fourCharCode('N', 'o', 'E', 'f');
constexpr int32_t kIdentifyAnswer = fourCharCode('N', 'v', 'E', 'f');

// The effect behind a record, or null for a record that has none.
AudioEffect* effectOf(AEffect* e) {
  return e != nullptr ? static_cast<AudioEffect*>(e->object) : nullptr;
}

}  // namespace

AudioEffect::AudioEffect(audioMasterCallback audioMaster, int32_t numPrograms, int32_t numParams)
    : audioMaster(audioMaster),
      editor(nullptr),
      sampleRate(44100.0f),
      blockSize(1024),
      numPrograms(numPrograms),
      numParams(numParams),
      curProgram(0) {
  std::memset(&cEffect, 0, sizeof(cEffect));
  cEffect.magic = kEffectMagic;
  cEffect.dispatcher = dispatchEffectClass;
  cEffect.process = __processClassDeprecated;
  cEffect.setParameter = setParameterClass;
  cEffect.getParameter = getParameterClass;
  cEffect.numPrograms = numPrograms;
  cEffect.numParams = numParams;
  cEffect.numInputs = 1;
  cEffect.numOutputs = 2;
  cEffect.flags |= effFlagsCanReplacing;
  cEffect.ioRatio = 1.0f;
  cEffect.object = this;
  cEffect.uniqueID = kBaseUniqueId;
  cEffect.version = 1;
  cEffect.processReplacing = processClassReplacing;
  cEffect.processDoubleReplacing = processClassDoubleReplacing;
}

AudioEffect::~AudioEffect() { delete editor; }

// ---------------------------------------------------------------------------
// Record entry points. The host may throw nothing at us and we throw nothing
// back: a C caller cannot unwind a C++ exception.

intptr_t AudioEffect::dispatchEffectClass(AEffect* e, int32_t opcode, int32_t index, intptr_t value,
                                          void* ptr, float opt) {
  AudioEffect* effect = effectOf(e);
  if (effect == nullptr) return 0;
  if (opcode == effClose) {
    // The record lives inside the effect: after delete nothing may touch it.
    // A close that throws still ends the instance, since the host will not
    // use the record again.
    try {
      effect->dispatcher(opcode, index, value, ptr, opt);
    } catch (...) {
    }
    delete effect;
    return 1;
  }
  try {
    return effect->dispatcher(opcode, index, value, ptr, opt);
  } catch (...) {
    return 0;
  }
}

void AudioEffect::processClassReplacing(AEffect* e, float** inputs, float** outputs,
                                        int32_t sampleFrames) {
  AudioEffect* effect = effectOf(e);
  if (effect == nullptr) return;
  try {
    effect->processReplacing(inputs, outputs, sampleFrames);
  } catch (...) {
  }
}

void AudioEffect::processClassDoubleReplacing(AEffect* e, double** inputs, double** outputs,
                                              int32_t sampleFrames) {
  AudioEffect* effect = effectOf(e);
  if (effect == nullptr) return;
  try {
    effect->processDoubleReplacing(inputs, outputs, sampleFrames);
  } catch (...) {
  }
}

void AudioEffect::__processClassDeprecated(AEffect* e, float** inputs, float** outputs,
                                           int32_t sampleFrames) {
  AudioEffect* effect = effectOf(e);
  if (effect == nullptr) return;
  try {
    effect->__processDeprecated(inputs, outputs, sampleFrames);
  } catch (...) {
  }
}

void AudioEffect::setParameterClass(AEffect* e, int32_t index, float value) {
  AudioEffect* effect = effectOf(e);
  if (effect == nullptr) return;
  try {
    effect->setParameter(index, value);
  } catch (...) {
  }
}

float AudioEffect::getParameterClass(AEffect* e, int32_t index) {
  AudioEffect* effect = effectOf(e);
  if (effect == nullptr) return 0.0f;
  try {
    return effect->getParameter(index);
  } catch (...) {
    return 0.0f;
  }
}

// ---------------------------------------------------------------------------
// Opcodes 0..24. Text buffers in ptr pass through untouched; the operations
// that fill them keep to the host's buffer sizes.

intptr_t AudioEffect::dispatcher(int32_t opcode, int32_t index, intptr_t value, void* ptr,
                                 float opt) {
  switch (opcode) {
    case effOpen:
      open();
      return 0;
    case effClose:
      close();
      return 0;
    case effSetProgram:
      // Program numbers outside 0..numPrograms-1 are ignored: the program
      // table is indexed by the current program.
      if (value >= 0 && value < numPrograms) setProgram(static_cast<int32_t>(value));
      return 0;
    case effGetProgram:
      return getProgram();
    case effSetProgramName:
      setProgramName(static_cast<char*>(ptr));
      return 0;
    case effGetProgramName:
      getProgramName(static_cast<char*>(ptr));
      return 0;
    case effGetParamLabel:
      getParameterLabel(index, static_cast<char*>(ptr));
      return 0;
    case effGetParamDisplay:
      getParameterDisplay(index, static_cast<char*>(ptr));
      return 0;
    case effGetParamName:
      getParameterName(index, static_cast<char*>(ptr));
      return 0;
    case effSetSampleRate:
      setSampleRate(opt);
      return 0;
    case effSetBlockSize:
      setBlockSize(static_cast<int32_t>(value));
      return 0;
    case effMainsChanged:
      if (value == 0) {
        suspend();
      } else {
        resume();
      }
      return 0;
    case effEditGetRect:
      return editor != nullptr && editor->getRect(static_cast<EditorRect**>(ptr)) ? 1 : 0;
    case effEditOpen:
      return editor != nullptr && editor->open(ptr) ? 1 : 0;
    case effEditClose:
      if (editor != nullptr) editor->close();
      return 0;
    case effEditIdle:
      if (editor != nullptr) editor->idle();
      return 0;
    case effIdentify:
      return kIdentifyAnswer;
    case effGetChunk:
      return getChunk(static_cast<void**>(ptr), index != 0);
    case effSetChunk:
      return setChunk(ptr, static_cast<int32_t>(value), index != 0);
    default:
      return 0;
  }
}

// ---------------------------------------------------------------------------
// State.

void AudioEffect::setSampleRate(float newSampleRate) { sampleRate = newSampleRate; }

void AudioEffect::setBlockSize(int32_t newBlockSize) { blockSize = newBlockSize; }

int32_t AudioEffect::getProgram() { return curProgram.load(std::memory_order_relaxed); }

void AudioEffect::setProgram(int32_t program) {
  curProgram.store(program, std::memory_order_relaxed);
}

// The base has no names or labels: each writes an empty string (a null
// buffer from a careless host is left alone).
void AudioEffect::getProgramName(char* name) {
  if (name != nullptr) *name = 0;
}

void AudioEffect::getParameterLabel(int32_t index, char* label) {
  (void)index;
  if (label != nullptr) *label = 0;
}

void AudioEffect::getParameterDisplay(int32_t index, char* text) {
  (void)index;
  if (text != nullptr) *text = 0;
}

void AudioEffect::getParameterName(int32_t index, char* text) {
  (void)index;
  if (text != nullptr) *text = 0;
}

void AudioEffect::setEditor(AEffEditor* newEditor) {
  editor = newEditor;
  setFlag(effFlagsHasEditor, newEditor != nullptr);
}

void AudioEffect::setFlag(int32_t bit, bool state) {
  if (state) {
    cEffect.flags |= bit;
  } else {
    cEffect.flags &= ~bit;
  }
}

// ---------------------------------------------------------------------------
// Host callback.

intptr_t AudioEffect::callHost(int32_t opcode, int32_t index, intptr_t value, void* ptr,
                               float opt) {
  if (audioMaster == nullptr) return 0;
  return audioMaster(&cEffect, opcode, index, value, ptr, opt);
}

void AudioEffect::setParameterAutomated(int32_t index, float value) {
  setParameter(index, value);
  callHost(audioMasterAutomate, index, 0, nullptr, value);
}

int32_t AudioEffect::getMasterVersion() {
  const intptr_t version = callHost(audioMasterVersion);
  return version != 0 ? static_cast<int32_t>(version) : 1;
}

int32_t AudioEffect::getCurrentUniqueId() {
  return static_cast<int32_t>(callHost(audioMasterCurrentId));
}

void AudioEffect::masterIdle() { callHost(audioMasterIdle); }

// The host answers 0 for "connected"; without a host every pin counts as connected.
bool AudioEffect::isInputConnected(int32_t input) {
  return callHost(audioMasterPinConnected, input, 0) == 0;
}

bool AudioEffect::isOutputConnected(int32_t output) {
  return callHost(audioMasterPinConnected, output, 1) == 0;
}
