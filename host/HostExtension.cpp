#include "host/HostExtension.h"

#include <cstring>

namespace veltrax::host {
namespace {

// Virtual-table slots: two destructor slots, 49 base operations after them,
// the 102 extended ones (slots 51..152), then the extension's eleven.
enum Slot : int {
  kInJacks = 153,
  kOutJacks = 154,
  kInSignals = 155,
  kOutSignals = 156,
  kFirstInSignal = 157,
  kFirstOutSignal = 158,
  kDrySignal = 159,
  kDisplayOf = 161,
  kHeaderVersion = 162,
  kSelectProgram = 164,
};

}  // namespace

template <typename R, typename... Args>
R HostExtension::call(int slot, Args... args) const {
  void** vtable = *static_cast<void***>(object_);
  return reinterpret_cast<R (*)(void*, Args...)>(vtable[slot])(object_, args...);
}

int32_t HostExtension::inJackCount() const { return call<int32_t>(kInJacks); }
int32_t HostExtension::outJackCount() const { return call<int32_t>(kOutJacks); }
int32_t HostExtension::inSignalCount(int32_t jack) const { return call<int32_t>(kInSignals, jack); }
int32_t HostExtension::outSignalCount(int32_t jack) const { return call<int32_t>(kOutSignals, jack); }
int32_t HostExtension::firstInSignal(int32_t jack) const { return call<int32_t>(kFirstInSignal, jack); }
int32_t HostExtension::firstOutSignal(int32_t jack) const {
  return call<int32_t>(kFirstOutSignal, jack);
}
int32_t HostExtension::drySignal() const { return call<int32_t>(kDrySignal); }
int32_t HostExtension::headerVersion() const { return call<int32_t>(kHeaderVersion); }

std::string HostExtension::displayOf(int32_t index, float value) const {
  char text[64] = {};
  call<void>(kDisplayOf, index, value, static_cast<char*>(text));
  return std::string(text, strnlen(text, sizeof text - 1));
}

void HostExtension::selectProgram(long index) const { call<void>(kSelectProgram, index); }

}  // namespace veltrax::host
