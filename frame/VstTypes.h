// Record types that travel through the plug-in interface.
//
// Most are only ever passed through as pointers, so they stay incomplete:
// nothing here looks inside them. Three are filled or built by the frame and
// the effect and carry their exact published layouts: the speaker record
// (112 bytes), the speaker arrangement, and the parameter-properties record
// (152 bytes). All integers are 32-bit, floats are single precision, and the
// layouts are the same on 32- and 64-bit targets.
#pragma once

#include <cstddef>
#include <cstdint>

struct VstEvents;          // MIDI/system events, host <-> effect
struct VstTimeInfo;        // the host's transport/time record
struct VstPinProperties;   // input/output pin description
struct VstPatchChunkInfo;  // bank/program chunk header before loading
struct VstVariableIo;      // variable-rate processing request
struct VstOfflineTask;     // offline processing task
struct VstAudioFile;       // offline audio file description
struct VstFileSelect;      // file-selector request
struct MidiProgramName;
struct MidiProgramCategory;
struct MidiKeyName;
struct __VstWindowDeprecated;  // window request of the old window opcodes

// Offline option passed in the value slot; only its integer travels.
enum VstOfflineOption : int32_t {};

// One loudspeaker of an arrangement: 112 bytes.
struct VstSpeakerProperties {
  float azimuth;
  float elevation;
  float radius;
  float reserved;
  char name[64];
  int32_t type;
  char future[28];
};

// A speaker arrangement: type, channel count, then numChannels speaker
// records. The declared array holds 8, but arrangements are allocated with
// exactly numChannels records (8 + numChannels * 112 bytes), so never use
// sizeof(VstSpeakerArrangement) for an allocated one.
struct VstSpeakerArrangement {
  int32_t type;
  int32_t numChannels;
  VstSpeakerProperties speakers[8];
};

// Size in bytes of an arrangement holding `numChannels` speaker records.
constexpr std::size_t speakerArrangementBytes(std::size_t numChannels) {
  return offsetof(VstSpeakerArrangement, speakers) + numChannels * sizeof(VstSpeakerProperties);
}

// Speaker record `i` of an arrangement allocated with at least i + 1 records
// (the index may exceed the declared 8).
inline VstSpeakerProperties* speakerAt(VstSpeakerArrangement* arrangement, std::size_t i) {
  return reinterpret_cast<VstSpeakerProperties*>(reinterpret_cast<char*>(arrangement) +
                                                 speakerArrangementBytes(i));
}

// Bits of VstParameterProperties::flags.
enum VstParameterFlags : int32_t {
  kParameterIsSwitch = 1,
  kParameterUsesIntegerMinMax = 2,
  kParameterUsesFloatStep = 4,
  kParameterUsesIntStep = 8,
  kParameterSupportsDisplayIndex = 16,
  kParameterSupportsDisplayCategory = 32,
  kParameterCanRamp = 64,
};

// Parameter description a host asks for: 152 bytes. Hosts hand over at least
// 154 bytes (kParameterPropertiesBufferSize); the two bytes behind the record
// belong to the effect, never to a sizeof of this struct.
struct VstParameterProperties {
  float stepFloat;
  float smallStepFloat;
  float largeStepFloat;
  char label[64];
  int32_t flags;
  int32_t minInteger;
  int32_t maxInteger;
  int32_t stepInteger;
  int32_t largeStepInteger;
  char shortLabel[8];
  int16_t displayIndex;
  int16_t category;
  int16_t numParametersInCategory;
  int16_t reserved;
  char categoryLabel[24];
  char future[16];
};

static_assert(sizeof(VstSpeakerProperties) == 112, "speaker record is 112 bytes");
static_assert(offsetof(VstSpeakerProperties, azimuth) == 0, "layout");
static_assert(offsetof(VstSpeakerProperties, elevation) == 4, "layout");
static_assert(offsetof(VstSpeakerProperties, radius) == 8, "layout");
static_assert(offsetof(VstSpeakerProperties, reserved) == 12, "layout");
static_assert(offsetof(VstSpeakerProperties, name) == 16, "layout");
static_assert(offsetof(VstSpeakerProperties, type) == 80, "layout");
static_assert(offsetof(VstSpeakerProperties, future) == 84, "layout");

static_assert(offsetof(VstSpeakerArrangement, type) == 0, "layout");
static_assert(offsetof(VstSpeakerArrangement, numChannels) == 4, "layout");
static_assert(offsetof(VstSpeakerArrangement, speakers) == 8, "layout");
static_assert(sizeof(VstSpeakerArrangement) == 8 + 8 * 112, "layout");
static_assert(speakerArrangementBytes(6) == 8 + 6 * 112, "arrangement size");

static_assert(sizeof(VstParameterProperties) == 152, "parameter properties are 152 bytes");
static_assert(offsetof(VstParameterProperties, stepFloat) == 0, "layout");
static_assert(offsetof(VstParameterProperties, smallStepFloat) == 4, "layout");
static_assert(offsetof(VstParameterProperties, largeStepFloat) == 8, "layout");
static_assert(offsetof(VstParameterProperties, label) == 12, "layout");
static_assert(offsetof(VstParameterProperties, flags) == 76, "layout");
static_assert(offsetof(VstParameterProperties, minInteger) == 80, "layout");
static_assert(offsetof(VstParameterProperties, maxInteger) == 84, "layout");
static_assert(offsetof(VstParameterProperties, stepInteger) == 88, "layout");
static_assert(offsetof(VstParameterProperties, largeStepInteger) == 92, "layout");
static_assert(offsetof(VstParameterProperties, shortLabel) == 96, "layout");
static_assert(offsetof(VstParameterProperties, displayIndex) == 104, "layout");
static_assert(offsetof(VstParameterProperties, category) == 106, "layout");
static_assert(offsetof(VstParameterProperties, numParametersInCategory) == 108, "layout");
static_assert(offsetof(VstParameterProperties, reserved) == 110, "layout");
static_assert(offsetof(VstParameterProperties, categoryLabel) == 112, "layout");
static_assert(offsetof(VstParameterProperties, future) == 136, "layout");
