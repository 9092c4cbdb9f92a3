// The parameter-properties record as a host reads it: the published 152-byte
// layout plus the two trailing bytes this module writes (154 in all). The
// module writes into a larger byte buffer and the host decodes it from there,
// so that no struct padding decides how much the module may write.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "frame/VstTypes.h"

namespace veltrax::host {

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
