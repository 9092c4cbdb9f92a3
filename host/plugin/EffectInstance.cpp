#include "host/plugin/EffectInstance.h"

#include <array>
#include <cstring>

#include "host/common/HostError.h"
#include "host/plugin/InterfaceObject.h"

namespace veltrax::host {
namespace {

// Text queries get a zeroed buffer far larger than the minimum the interface
// promises, so a module that overshoots its limit cannot write past it.
constexpr size_t kTextBufferSize = 256;

}  // namespace

std::unique_ptr<EffectInstance> EffectInstance::create(std::shared_ptr<ModuleLibrary> module,
                                                       const char* entry) {
  auto function = reinterpret_cast<InterfaceEntry>(module->symbol(entry));
  if (!function) throw HostError("module " + module->path() + " does not export " + entry);
  void* object = function(hostCallback);
  if (!object) throw HostError("module " + module->path() + " created no instance");
  AEffect* record = interfaceEffect(object);
  destroyInterfaceObject(object);
  if (!record || record->magic != kEffectMagic)
    throw HostError("module " + module->path() + " returned no valid effect record");
  std::unique_ptr<EffectInstance> instance(new EffectInstance(std::move(module), record));
  if (!(record->flags & effFlagsCanDoubleReplacing) || !record->processDoubleReplacing)
    throw HostError("module " + instance->module_->path() +
                    " does not process double-precision audio");
  if (record->numInputs != 1 || record->numOutputs != 1)
    throw HostError("module " + instance->module_->path() + " is not a mono effect");
  return instance;
}

EffectInstance::EffectInstance(std::shared_ptr<ModuleLibrary> module, AEffect* record)
    : module_(std::move(module)),
      record_(record),
      context_(std::make_unique<HostContext>()),
      extension_(record->object) {
  record_->user = context_.get();
  dispatch(effOpen);
}

EffectInstance::~EffectInstance() {
  if (processing_) dispatch(effMainsChanged, 0, 0);
  // The module deletes the instance (and with it the record) on close.
  record_->dispatcher(record_, effClose, 0, 0, nullptr, 0.0f);
}

intptr_t EffectInstance::dispatch(int32_t opcode, int32_t index, intptr_t value, void* ptr,
                                  float opt) const {
  return record_->dispatcher(record_, opcode, index, value, ptr, opt);
}

void EffectInstance::prepare(double sampleRate, int32_t maxBlockSize) {
  if (processing_) dispatch(effMainsChanged, 0, 0);
  context_->sampleRate = sampleRate;
  context_->blockSize = maxBlockSize;
  dispatch(effSetSampleRate, 0, 0, nullptr, static_cast<float>(sampleRate));
  dispatch(effSetBlockSize, 0, maxBlockSize);
  dispatch(effMainsChanged, 0, 1);
  processing_ = true;
}

void EffectInstance::process(const double* in, double* out, int32_t n) {
  double* inputs[1] = {const_cast<double*>(in)};
  double* outputs[1] = {out};
  record_->processDoubleReplacing(record_, inputs, outputs, n);
}

std::string EffectInstance::text(int32_t opcode, int32_t index, size_t limit) const {
  std::array<char, kTextBufferSize> buffer{};
  dispatch(opcode, index, 0, buffer.data());
  return std::string(buffer.data(), strnlen(buffer.data(), limit));
}

EffectIdentity EffectInstance::identity() const {
  EffectIdentity id;
  id.effectName = text(effGetEffectName, 0, kEffectNameBufferSize - 1);
  id.productString = text(effGetProductString, 0, kProductStringBufferSize - 1);
  id.vendorString = text(effGetVendorString, 0, kProductStringBufferSize - 1);
  id.vendorVersion = dispatch(effGetVendorVersion);
  id.category = dispatch(effGetPlugCategory);
  id.interfaceVersion = dispatch(effGetVstVersion);
  id.uniqueId = record_->uniqueID;
  id.version = record_->version;
  id.numInputs = record_->numInputs;
  id.numOutputs = record_->numOutputs;
  id.numParams = record_->numParams;
  id.numPrograms = record_->numPrograms;
  id.flags = record_->flags;
  id.initialDelay = record_->initialDelay;
  return id;
}

float EffectInstance::parameter(int32_t index) const {
  return record_->getParameter(record_, index);
}

void EffectInstance::setParameter(int32_t index, float value) {
  record_->setParameter(record_, index, value);
}

std::string EffectInstance::parameterName(int32_t index) const {
  return text(effGetParamName, index, kParamTextBufferSize - 1);
}

std::string EffectInstance::parameterLabel(int32_t index) const {
  return text(effGetParamLabel, index, kParamTextBufferSize - 1);
}

std::string EffectInstance::parameterDisplay(int32_t index) const {
  return text(effGetParamDisplay, index, kParamTextBufferSize - 1);
}

std::optional<ParameterProperties> EffectInstance::parameterProperties(int32_t index) const {
  std::array<uint8_t, 256> record{};
  if (!dispatch(effGetParameterProperties, index, 0, record.data())) return std::nullopt;
  return decodeParameterProperties(record);
}

int32_t EffectInstance::currentProgram() const {
  return static_cast<int32_t>(dispatch(effGetProgram));
}

std::string EffectInstance::currentProgramName() const {
  return text(effGetProgramName, 0, kProgramNameBufferSize - 1);
}

std::optional<std::string> EffectInstance::programName(int32_t index) const {
  std::array<char, kTextBufferSize> buffer{};
  if (!dispatch(effGetProgramNameIndexed, index, 0, buffer.data())) return std::nullopt;
  return std::string(buffer.data(), strnlen(buffer.data(), kProgramNameBufferSize - 1));
}

}  // namespace veltrax::host
