// One effect instance driven exactly as a host drives it: created through a
// module's entry function, talked to only through its record and the
// extension's virtual-table slots, closed (and so deleted by the module) when
// this object ends. Use one instance from one thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "frame/AEffect.h"
#include "host/plugin/HostCallback.h"
#include "host/plugin/HostExtension.h"
#include "host/plugin/ModuleLibrary.h"
#include "host/plugin/ParameterProperties.h"

namespace veltrax::host {

struct EffectIdentity {
  std::string effectName;
  std::string productString;
  std::string vendorString;
  intptr_t vendorVersion = 0;
  int32_t uniqueId = 0;
  int32_t version = 0;
  intptr_t category = 0;
  intptr_t interfaceVersion = 0;
  int32_t numInputs = 0, numOutputs = 0, numParams = 0, numPrograms = 0;
  int32_t flags = 0;
  int32_t initialDelay = 0;
};

class EffectInstance {
 public:
  // Calls the module's entry function `entry` ("getinterface" or "QTypeIF")
  // with the host callback, destroys the interface object and opens the
  // effect. Throws HostError if the module lacks the entry, creates nothing
  // or hands back a record that cannot process double-precision audio.
  static std::unique_ptr<EffectInstance> create(std::shared_ptr<ModuleLibrary> module,
                                                const char* entry = "getinterface");
  ~EffectInstance();
  EffectInstance(const EffectInstance&) = delete;
  EffectInstance& operator=(const EffectInstance&) = delete;

  // Stops processing, gives the rate and the largest block length, and
  // starts processing again; call before the first block and on any change.
  void prepare(double sampleRate, int32_t maxBlockSize);

  // Replaces out[0..n) by the effect of in[0..n); in == out is allowed.
  void process(const double* in, double* out, int32_t n);

  EffectIdentity identity() const;

  int32_t parameterCount() const { return record_->numParams; }
  float parameter(int32_t index) const;
  void setParameter(int32_t index, float value);
  std::string parameterName(int32_t index) const;
  std::string parameterLabel(int32_t index) const;
  std::string parameterDisplay(int32_t index) const;
  std::optional<ParameterProperties> parameterProperties(int32_t index) const;

  int32_t programCount() const { return record_->numPrograms; }
  int32_t currentProgram() const;
  std::string currentProgramName() const;
  std::optional<std::string> programName(int32_t index) const;

  const HostExtension& extension() const { return extension_; }
  const AEffect& record() const { return *record_; }
  intptr_t dispatch(int32_t opcode, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr,
                    float opt = 0.0f) const;

 private:
  EffectInstance(std::shared_ptr<ModuleLibrary> module, AEffect* record);
  std::string text(int32_t opcode, int32_t index, size_t limit) const;

  std::shared_ptr<ModuleLibrary> module_;
  AEffect* record_;
  std::unique_ptr<HostContext> context_;
  HostExtension extension_;
  bool processing_ = false;
};

}  // namespace veltrax::host
