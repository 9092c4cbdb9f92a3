// A minimal host for end-to-end tests: loads the built module with dlopen,
// creates instances through its entry functions and drives them only through
// the AEffect record and vtable positions, as the maker's host does.
#pragma once

#include <dlfcn.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "VtableCall.h"
#include "frame/AEffect.h"
#include "frame/HostExtensionSlots.h"
#include "host/plugin/InterfaceObject.h"

namespace testhost {

using EntryFunction = veltrax::host::InterfaceEntry;

using veltrax::host::destroyInterfaceObject;
using veltrax::host::interfaceEffect;

// Answers the version query with 2400 and everything else with 0.
intptr_t answeringHost(AEffect*, int32_t opcode, int32_t, intptr_t, void*, float);

class Module {
 public:
  explicit Module(const char* path = VELTRAX_MODULE_PATH);
  ~Module();
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  EntryFunction getinterface() const { return getinterface_; }
  EntryFunction qTypeIF() const { return qTypeIF_; }

 private:
  void* handle_ = nullptr;
  EntryFunction getinterface_ = nullptr;
  EntryFunction qTypeIF_ = nullptr;
};

// One effect instance; closes it (effClose through the record) on destruction.
class Instance {
 public:
  explicit Instance(const Module& module, audioMasterCallback host = answeringHost);
  ~Instance();
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  AEffect* record() const { return effect_; }
  void* object() const { return effect_->object; }
  intptr_t dispatch(int32_t opcode, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr,
                    float opt = 0.0f) const {
    return effect_->dispatcher(effect_, opcode, index, value, ptr, opt);
  }
  void setSampleRate(float rate) const { dispatch(effSetSampleRate, 0, 0, nullptr, rate); }
  void setParameter(int32_t index, float value) const {
    effect_->setParameter(effect_, index, value);
  }
  float getParameter(int32_t index) const { return effect_->getParameter(effect_, index); }
  void setProgramLong(long program) const {
    callVirtualSlot<void, long>(object(), kSlotSetProgramLong, program);
  }
  std::string text(int32_t opcode, int32_t index = 0, size_t bufferSize = 64) const;

  // Processes `in` (copied) in blocks of the given lengths, cycling through them.
  std::vector<double> process(const std::vector<double>& in, const std::vector<int>& blocks) const;
  void processInPlace(double* buffer, int32_t n) const;

 private:
  AEffect* effect_ = nullptr;
};

// White noise, uniform in -amplitude .. amplitude.
std::vector<double> noise(double amplitude, size_t length, uint32_t seed = 1);

// Bit-for-bit equality, NaN equal to NaN of any payload.
bool sameSamples(double a, double b);

}  // namespace testhost
