// The parameter-properties record as a host reads it: 152 bytes of the
// published layout plus the two trailing bytes this module family writes
// (154 in all). Decoded field by field from a byte buffer, so that no struct
// padding decides how much the module may write.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace veltrax::host {

constexpr int kPropertiesRecordSize = 154;

enum ParameterPropertyFlags : int32_t {
  kParameterIsSwitch = 1,
  kParameterUsesIntegerMinMax = 2,
  kParameterUsesFloatStep = 4,
  kParameterUsesIntStep = 8,
  kParameterSupportsDisplayIndex = 16,
  kParameterSupportsDisplayCategory = 32,
  kParameterCanRamp = 64,
};

struct ParameterProperties {
  float stepFloat = 0, smallStepFloat = 0, largeStepFloat = 0;
  std::string label;
  int32_t flags = 0;
  int32_t minInteger = 0, maxInteger = 0, stepInteger = 0, largeStepInteger = 0;
  std::string shortLabel;
  int16_t displayIndex = 0, category = 0, numParametersInCategory = 0;
  std::string categoryLabel;
  uint8_t trailingFlag = 0;
};

ParameterProperties decodeParameterProperties(const std::array<uint8_t, 256>& record);

// "switch", "float step 0.01" and the like, for listings.
std::string describeParameterProperties(const ParameterProperties& properties);

}  // namespace veltrax::host
