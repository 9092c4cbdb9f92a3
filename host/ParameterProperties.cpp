#include "host/ParameterProperties.h"

#include <cstdio>
#include <cstring>

namespace veltrax::host {
namespace {

template <typename T>
T read(const std::array<uint8_t, 256>& record, size_t offset) {
  T value;
  std::memcpy(&value, record.data() + offset, sizeof value);
  return value;
}

std::string readText(const std::array<uint8_t, 256>& record, size_t offset, size_t size) {
  const char* text = reinterpret_cast<const char*>(record.data() + offset);
  return std::string(text, strnlen(text, size));
}

}  // namespace

ParameterProperties decodeParameterProperties(const std::array<uint8_t, 256>& record) {
  ParameterProperties p;
  p.stepFloat = read<float>(record, 0);
  p.smallStepFloat = read<float>(record, 4);
  p.largeStepFloat = read<float>(record, 8);
  p.label = readText(record, 12, 64);
  p.flags = read<int32_t>(record, 76);
  p.minInteger = read<int32_t>(record, 80);
  p.maxInteger = read<int32_t>(record, 84);
  p.stepInteger = read<int32_t>(record, 88);
  p.largeStepInteger = read<int32_t>(record, 92);
  p.shortLabel = readText(record, 96, 8);
  p.displayIndex = read<int16_t>(record, 104);
  p.category = read<int16_t>(record, 106);
  p.numParametersInCategory = read<int16_t>(record, 108);
  p.categoryLabel = readText(record, 112, 24);
  p.trailingFlag = record[152];
  return p;
}

std::string describeParameterProperties(const ParameterProperties& p) {
  std::string text;
  auto add = [&text](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
  char number[64];
  if (p.flags & kParameterIsSwitch) add("switch");
  if (p.flags & kParameterUsesFloatStep) {
    std::snprintf(number, sizeof number, "float step %g", p.stepFloat);
    add(number);
  }
  if (p.flags & kParameterUsesIntegerMinMax) {
    std::snprintf(number, sizeof number, "integer %d..%d", p.minInteger, p.maxInteger);
    add(number);
  }
  if (p.flags & kParameterUsesIntStep) {
    std::snprintf(number, sizeof number, "integer step %d", p.stepInteger);
    add(number);
  }
  if (p.flags & kParameterCanRamp) add("can ramp");
  if (!p.label.empty()) add("label \"" + p.label + "\"");
  return text.empty() ? "none" : text;
}

}  // namespace veltrax::host
