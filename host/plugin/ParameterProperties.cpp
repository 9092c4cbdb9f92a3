#include "host/plugin/ParameterProperties.h"

#include <cstdio>
#include <cstring>

namespace veltrax::host {
namespace {

std::string textOf(const char* field, size_t size) {
  return std::string(field, strnlen(field, size));
}

}  // namespace

// The record is copied into the published layout; the trailing flag lies
// right behind it, at byte 152.
ParameterProperties decodeParameterProperties(const std::array<uint8_t, 256>& record) {
  VstParameterProperties r;
  std::memcpy(&r, record.data(), sizeof r);
  ParameterProperties p;
  p.stepFloat = r.stepFloat;
  p.smallStepFloat = r.smallStepFloat;
  p.largeStepFloat = r.largeStepFloat;
  p.label = textOf(r.label, sizeof r.label);
  p.flags = r.flags;
  p.minInteger = r.minInteger;
  p.maxInteger = r.maxInteger;
  p.stepInteger = r.stepInteger;
  p.largeStepInteger = r.largeStepInteger;
  p.shortLabel = textOf(r.shortLabel, sizeof r.shortLabel);
  p.displayIndex = r.displayIndex;
  p.category = r.category;
  p.numParametersInCategory = r.numParametersInCategory;
  p.categoryLabel = textOf(r.categoryLabel, sizeof r.categoryLabel);
  p.trailingFlag = record[sizeof r];
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
