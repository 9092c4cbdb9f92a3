// The maker's host extension: operations the module's effect object offers
// beyond the record, reached by their position in its virtual table (the
// record's `object` field points at the effect object).
#pragma once

#include <cstdint>
#include <string>

namespace veltrax::host {

class HostExtension {
 public:
  explicit HostExtension(void* effectObject) : object_(effectObject) {}

  int32_t inJackCount() const;
  int32_t outJackCount() const;
  int32_t inSignalCount(int32_t jack) const;
  int32_t outSignalCount(int32_t jack) const;
  int32_t firstInSignal(int32_t jack) const;
  int32_t firstOutSignal(int32_t jack) const;
  int32_t drySignal() const;  // -1: no dry input signal
  int32_t headerVersion() const;
  // Text that parameter `index` would display at `value`, without setting it.
  std::string displayOf(int32_t index, float value) const;
  // Makes program `index` current and loads its values into the parameters.
  void selectProgram(long index) const;

 private:
  template <typename R, typename... Args>
  R call(int slot, Args... args) const;
  void* object_;
};

}  // namespace veltrax::host
