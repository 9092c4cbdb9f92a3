// The plug-in record a host drives an effect through, the host callback and
// the record's entry-point types, the flag bits and the opcode numbers.
//
// Width rules: everything that travels in the `value` slot of the dispatcher
// or the host callback, and everything those two return, is intptr_t; every
// other integer is int32_t. On 32-bit x86 that is exactly the classic 144-byte
// record; on 64-bit the pointer-sized fields widen and the record is 192
// bytes with natural alignment.
#pragma once

#include <cstddef>
#include <cstdint>

struct AEffect;

// Host callback: (record, opcode, index, value, ptr, opt) -> answer. May be null.
typedef intptr_t (*audioMasterCallback)(AEffect* effect, int32_t opcode, int32_t index,
                                        intptr_t value, void* ptr, float opt);

// The six entry points the record carries.
typedef intptr_t (*AEffectDispatcherProc)(AEffect* effect, int32_t opcode, int32_t index,
                                          intptr_t value, void* ptr, float opt);
typedef void (*AEffectProcessProc)(AEffect* effect, float** inputs, float** outputs,
                                   int32_t sampleFrames);
typedef void (*AEffectProcessDoubleProc)(AEffect* effect, double** inputs, double** outputs,
                                         int32_t sampleFrames);
typedef void (*AEffectSetParameterProc)(AEffect* effect, int32_t index, float value);
typedef float (*AEffectGetParameterProc)(AEffect* effect, int32_t index);

// Four-character codes: first character in the most significant byte.
constexpr int32_t fourCharCode(char a, char b, char c, char d) {
  return static_cast<int32_t>((static_cast<uint32_t>(static_cast<unsigned char>(a)) << 24) |
                              (static_cast<uint32_t>(static_cast<unsigned char>(b)) << 16) |
                              (static_cast<uint32_t>(static_cast<unsigned char>(c)) << 8) |
                              static_cast<uint32_t>(static_cast<unsigned char>(d)));
}

constexpr int32_t kEffectMagic = fourCharCode('V', 's', 't', 'P');  // 0x56737450

struct AEffect {
  int32_t magic;                     // kEffectMagic
  AEffectDispatcherProc dispatcher;  // opcodes, see EffectOpcode
  AEffectProcessProc process;        // deprecated accumulating float process
  AEffectSetParameterProc setParameter;
  AEffectGetParameterProc getParameter;
  int32_t numPrograms;
  int32_t numParams;
  int32_t numInputs;
  int32_t numOutputs;
  int32_t flags;          // EffectFlags bits
  intptr_t resvd1;        // reserved for the host, 0
  intptr_t resvd2;        // reserved for the host, 0
  int32_t initialDelay;   // latency in samples
  int32_t realQualities;  // deprecated
  int32_t offQualities;   // deprecated
  float ioRatio;          // deprecated, 1.0
  void* object;           // the effect object behind the record
  void* user;             // free for the host
  int32_t uniqueID;       // four-character code
  int32_t version;
  AEffectProcessProc processReplacing;
  AEffectProcessDoubleProc processDoubleReplacing;
  char future[56];
};

#if UINTPTR_MAX == 0xFFFFFFFFu
// 32-bit x86: the record is byte for byte the published 144-byte layout.
static_assert(sizeof(AEffect) == 144, "AEffect must be 144 bytes on 32-bit");
static_assert(offsetof(AEffect, magic) == 0, "layout");
static_assert(offsetof(AEffect, dispatcher) == 4, "layout");
static_assert(offsetof(AEffect, process) == 8, "layout");
static_assert(offsetof(AEffect, setParameter) == 12, "layout");
static_assert(offsetof(AEffect, getParameter) == 16, "layout");
static_assert(offsetof(AEffect, numPrograms) == 20, "layout");
static_assert(offsetof(AEffect, numParams) == 24, "layout");
static_assert(offsetof(AEffect, numInputs) == 28, "layout");
static_assert(offsetof(AEffect, numOutputs) == 32, "layout");
static_assert(offsetof(AEffect, flags) == 36, "layout");
static_assert(offsetof(AEffect, resvd1) == 40, "layout");
static_assert(offsetof(AEffect, resvd2) == 44, "layout");
static_assert(offsetof(AEffect, initialDelay) == 48, "layout");
static_assert(offsetof(AEffect, realQualities) == 52, "layout");
static_assert(offsetof(AEffect, offQualities) == 56, "layout");
static_assert(offsetof(AEffect, ioRatio) == 60, "layout");
static_assert(offsetof(AEffect, object) == 64, "layout");
static_assert(offsetof(AEffect, user) == 68, "layout");
static_assert(offsetof(AEffect, uniqueID) == 72, "layout");
static_assert(offsetof(AEffect, version) == 76, "layout");
static_assert(offsetof(AEffect, processReplacing) == 80, "layout");
static_assert(offsetof(AEffect, processDoubleReplacing) == 84, "layout");
static_assert(offsetof(AEffect, future) == 88, "layout");
#else
// 64-bit: pointer-sized fields widen, natural alignment.
static_assert(sizeof(AEffect) == 192, "AEffect must be 192 bytes on 64-bit");
static_assert(offsetof(AEffect, dispatcher) == 8, "layout");
static_assert(offsetof(AEffect, numPrograms) == 40, "layout");
static_assert(offsetof(AEffect, flags) == 56, "layout");
static_assert(offsetof(AEffect, resvd1) == 64, "layout");
static_assert(offsetof(AEffect, initialDelay) == 80, "layout");
static_assert(offsetof(AEffect, ioRatio) == 92, "layout");
static_assert(offsetof(AEffect, object) == 96, "layout");
static_assert(offsetof(AEffect, uniqueID) == 112, "layout");
static_assert(offsetof(AEffect, processReplacing) == 120, "layout");
static_assert(offsetof(AEffect, processDoubleReplacing) == 128, "layout");
static_assert(offsetof(AEffect, future) == 136, "layout");
#endif

// Bits of AEffect::flags.
enum EffectFlags : int32_t {
  effFlagsHasEditor = 1,
  effFlagsHasClip = 2,  // deprecated
  effFlagsHasVu = 4,    // deprecated
  effFlagsCanMono = 8,  // deprecated
  effFlagsCanReplacing = 16,
  effFlagsProgramChunks = 32,
  effFlagsIsSynth = 256,
  effFlagsNoSoundInStop = 512,
  effFlagsExtIsAsync = 1024,    // deprecated
  effFlagsExtHasBuffer = 2048,  // deprecated
  effFlagsCanDoubleReplacing = 4096,
};

// Opcodes a host sends through AEffect::dispatcher.
enum EffectOpcode : int32_t {
  effOpen = 0,
  effClose = 1,
  effSetProgram = 2,
  effGetProgram = 3,
  effSetProgramName = 4,
  effGetProgramName = 5,
  effGetParamLabel = 6,
  effGetParamDisplay = 7,
  effGetParamName = 8,
  effSetSampleRate = 10,
  effSetBlockSize = 11,
  effMainsChanged = 12,
  effEditGetRect = 13,
  effEditOpen = 14,
  effEditClose = 15,
  effEditIdle = 19,
  effIdentify = 22,  // deprecated
  effGetChunk = 23,
  effSetChunk = 24,
  effProcessEvents = 25,
  effCanBeAutomated = 26,
  effString2Parameter = 27,
  effGetProgramNameIndexed = 29,
  effGetInputProperties = 33,
  effGetOutputProperties = 34,
  effGetPlugCategory = 35,
  effOfflineNotify = 38,
  effOfflinePrepare = 39,
  effOfflineRun = 40,
  effProcessVarIo = 41,
  effSetSpeakerArrangement = 42,
  effSetBypass = 44,
  effGetEffectName = 45,
  effGetVendorString = 47,
  effGetProductString = 48,
  effGetVendorVersion = 49,
  effVendorSpecific = 50,
  effCanDo = 51,
  effGetTailSize = 52,
  effGetParameterProperties = 56,
  effGetVstVersion = 58,
  effEditKeyDown = 59,
  effEditKeyUp = 60,
  effSetEditKnobMode = 61,
  effGetMidiProgramName = 62,
  effGetCurrentMidiProgram = 63,
  effGetMidiProgramCategory = 64,
  effHasMidiProgramsChanged = 65,
  effGetMidiKeyName = 66,
  effBeginSetProgram = 67,
  effEndSetProgram = 68,
  effGetSpeakerArrangement = 69,
  effShellGetNextPlugin = 70,
  effStartProcess = 71,
  effStopProcess = 72,
  effSetTotalSampleToProcess = 73,
  effSetPanLaw = 74,
  effBeginLoadBank = 75,
  effBeginLoadProgram = 76,
  effSetProcessPrecision = 77,
  effGetNumMidiInputChannels = 78,
  effGetNumMidiOutputChannels = 79,
};

// Opcodes an effect sends to the host callback.
enum HostOpcode : int32_t {
  audioMasterAutomate = 0,
  audioMasterVersion = 1,
  audioMasterCurrentId = 2,
  audioMasterIdle = 3,
  audioMasterPinConnected = 4,
  audioMasterWantMidi = 6,  // deprecated
  audioMasterGetTime = 7,
  audioMasterProcessEvents = 8,
  audioMasterTempoAt = 10,                      // deprecated
  audioMasterGetNumAutomatableParameters = 11,  // deprecated
  audioMasterGetParameterQuantization = 12,     // deprecated
  audioMasterIOChanged = 13,
  audioMasterNeedIdle = 14,  // deprecated
  audioMasterSizeWindow = 15,
  audioMasterGetSampleRate = 16,
  audioMasterGetBlockSize = 17,
  audioMasterGetInputLatency = 18,
  audioMasterGetOutputLatency = 19,
  audioMasterGetPreviousPlug = 20,          // deprecated
  audioMasterGetNextPlug = 21,              // deprecated
  audioMasterWillReplaceOrAccumulate = 22,  // deprecated
  audioMasterGetCurrentProcessLevel = 23,
  audioMasterGetAutomationState = 24,
  audioMasterOfflineStart = 25,
  audioMasterOfflineRead = 26,
  audioMasterOfflineWrite = 27,
  audioMasterOfflineGetCurrentPass = 28,
  audioMasterOfflineGetCurrentMetaPass = 29,
  audioMasterSetOutputSampleRate = 30,          // deprecated
  audioMasterGetOutputSpeakerArrangement = 31,  // deprecated
  audioMasterGetVendorString = 32,
  audioMasterGetProductString = 33,
  audioMasterGetVendorVersion = 34,
  audioMasterVendorSpecific = 35,
  audioMasterCanDo = 37,
  audioMasterGetLanguage = 38,
  audioMasterOpenWindow = 39,   // deprecated
  audioMasterCloseWindow = 40,  // deprecated
  audioMasterGetDirectory = 41,
  audioMasterUpdateDisplay = 42,
  audioMasterBeginEdit = 43,
  audioMasterEndEdit = 44,
  audioMasterOpenFileSelector = 45,
  audioMasterCloseFileSelector = 46,
  audioMasterGetChunkFile = 48,                // deprecated
  audioMasterGetInputSpeakerArrangement = 49,  // deprecated
};

// Minimum sizes of the text buffers a host hands over (terminator included).
constexpr int kParamTextBufferSize = 9;       // names, labels, displays: 8 chars
constexpr int kEffectNameBufferSize = 33;     // 32 chars
constexpr int kProductStringBufferSize = 65;  // 64 chars
constexpr int kProgramNameBufferSize = 24;    // 23 chars
constexpr int kParameterPropertiesBufferSize = 154;
