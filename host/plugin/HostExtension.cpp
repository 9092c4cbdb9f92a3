#include "host/plugin/HostExtension.h"

#include <cstring>

#include "frame/HostExtensionSlots.h"

namespace veltrax::host {

template <typename R, typename... Args>
R HostExtension::call(int slot, Args... args) const {
  void** vtable = *static_cast<void***>(object_);
  return reinterpret_cast<R (*)(void*, Args...)>(vtable[slot])(object_, args...);
}

int32_t HostExtension::inJackCount() const { return call<int32_t>(kSlotGetNumOfInJacks); }
int32_t HostExtension::outJackCount() const { return call<int32_t>(kSlotGetNumOfOutJacks); }
int32_t HostExtension::inSignalCount(int32_t jack) const {
  return call<int32_t>(kSlotGetNumOfInSig, jack);
}
int32_t HostExtension::outSignalCount(int32_t jack) const {
  return call<int32_t>(kSlotGetNumOfOutSig, jack);
}
int32_t HostExtension::firstInSignal(int32_t jack) const {
  return call<int32_t>(kSlotGetStartNumInSig, jack);
}
int32_t HostExtension::firstOutSignal(int32_t jack) const {
  return call<int32_t>(kSlotGetStartNumOutSig, jack);
}
int32_t HostExtension::drySignal() const { return call<int32_t>(kSlotGetDryInSigNum); }
int32_t HostExtension::headerVersion() const { return call<int32_t>(kSlotGetHeaderVersion); }

std::string HostExtension::displayOf(int32_t index, float value) const {
  char text[64] = {};
  call<void>(kSlotGetParameterDisplayOf, index, value, static_cast<char*>(text));
  return std::string(text, strnlen(text, sizeof text - 1));
}

void HostExtension::selectProgram(long index) const { call<void>(kSlotSetProgramLong, index); }

}  // namespace veltrax::host
