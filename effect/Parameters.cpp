// The four parameters: values, names, labels, display texts and properties.
//
// A value lives twice: in paramValues, which the signal chain reads at the
// start of each block, and in the current program. Values are stored as
// given (no clamping); the chain notices a change by itself.
#include <cstring>

#include "effect/VELTRAX.h"
#include "frame/VstTypes.h"

namespace {

const char* const kParameterNames[VELTRAX::kNumParams] = {"On/Off", "volume", "tone", "sustain"};

bool isParameter(int32_t index) { return index >= 0 && index < VELTRAX::kNumParams; }
bool isProgram(int32_t index) { return index >= 0 && index < VELTRAX::kNumPrograms; }

// Byte behind the 152-byte properties record that this effect sets to 1.
constexpr size_t kTrailingFlagOffset = 152;
constexpr size_t kPropertiesBytesCleared = 154;
constexpr float kKnobStep = 0.01f;  // float step of volume, tone, sustain

}  // namespace

void VELTRAX::setParameter(int32_t index, float value) {
  paramLock.lock();
  if (isParameter(index)) {
    const int32_t program = curProgram.load(std::memory_order_relaxed);
    if (isProgram(program)) programs[program].values[index] = value;
    paramValues[index].store(value, std::memory_order_relaxed);
  }
  paramLock.unlock();
}

float VELTRAX::getParameter(int32_t index) {
  return isParameter(index) ? paramValues[index].load(std::memory_order_relaxed) : 0.0f;
}

void VELTRAX::getParameterName(int32_t index, char* text) {
  if (text && isParameter(index)) std::strcpy(text, kParameterNames[index]);
}

void VELTRAX::getParameterLabel(int32_t index, char* label) {
  if (label && isParameter(index)) label[0] = 0;  // no unit shown
}

// "on" only at exactly 1.0; the knobs show value x 10 (the pedal's dial).
void VELTRAX::writeParameterDisplay(int32_t index, float value, char* text) {
  if (!text) return;
  if (index == kOnOff) {
    std::strncpy(text, value == 1.0f ? "on" : "off", 8);
    text[8] = 0;
  } else if (isParameter(index)) {
    float2string(value * 10.0f, text, 8);  // virtual: a subclass's format would be used
  }
}

void VELTRAX::getParameterDisplay(int32_t index, char* text) {
  if (isParameter(index))
    writeParameterDisplay(index, paramValues[index].load(std::memory_order_relaxed), text);
}

void VELTRAX::getParameterDisplayOf(int32_t index, float value, char* text) {
  writeParameterDisplay(index, value, text);
}

// Fills the host's record (at least 154 bytes): "On/Off" is a switch, the
// knobs step by 0.01.
bool VELTRAX::getParameterProperties(int32_t index, VstParameterProperties* properties) {
  if (!properties || !isParameter(index)) return false;
  std::memset(properties, 0, kPropertiesBytesCleared);
  properties->flags = index == kOnOff ? kParameterIsSwitch : kParameterUsesFloatStep;
  getParameterLabel(index, properties->label);
  if (index != kOnOff) properties->stepFloat = kKnobStep;
  reinterpret_cast<unsigned char*>(properties)[kTrailingFlagOffset] = 1;
  return true;
}
