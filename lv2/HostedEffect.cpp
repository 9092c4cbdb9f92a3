#include "lv2/HostedEffect.h"

#include "effect/InternalControl.h"
#include "frame/QTypeIF.h"

// The effect's entry function, linked in statically.
extern "C" void* getinterface(audioMasterCallback audioMaster);

namespace veltrax::lv2 {

// The version a host of this interface generation reports.
constexpr intptr_t kHostVersion = 2400;

intptr_t HostedEffect::hostCallback(AEffect*, int32_t opcode, int32_t, intptr_t, void*, float) {
  return opcode == audioMasterVersion ? kHostVersion : 0;
}

std::unique_ptr<HostedEffect> HostedEffect::create(float sampleRate, int32_t reserveFrames) {
  auto* object = static_cast<Q_TypeIF*>(getinterface(&HostedEffect::hostCallback));
  if (object == nullptr) return nullptr;
  AEffect* record = object->effect;
  delete object;  // the instance lives on until effClose
  // Something that is not a record cannot be closed either; leave it alone.
  if (record == nullptr || record->magic != kEffectMagic) return nullptr;

  std::unique_ptr<HostedEffect> hosted(new HostedEffect(record));  // closes on every failure below
  if (record->processDoubleReplacing == nullptr ||
      (record->flags & effFlagsCanDoubleReplacing) == 0)
    return nullptr;
  hosted->dispatch(effOpen);
  hosted->dispatch(effSetSampleRate, 0, 0, nullptr, sampleRate);
  hosted->dispatch(effSetBlockSize, 0, reserveFrames);
  if (!veltrax::reserveBlockCapacity(record, reserveFrames)) return nullptr;
  return hosted;
}

HostedEffect::~HostedEffect() { dispatch(effClose); }

intptr_t HostedEffect::dispatch(int32_t opcode, int32_t index, intptr_t value, void* ptr,
                                float opt) {
  return effect_->dispatcher(effect_, opcode, index, value, ptr, opt);
}

void HostedEffect::resume() { dispatch(effMainsChanged, 0, 1); }

void HostedEffect::suspend() { dispatch(effMainsChanged, 0, 0); }

float HostedEffect::parameter(int32_t index) const { return effect_->getParameter(effect_, index); }

void HostedEffect::setParameter(int32_t index, float value) {
  effect_->setParameter(effect_, index, value);
}

void HostedEffect::process(double* in, double* out, int32_t frames) {
  effect_->processDoubleReplacing(effect_, &in, &out, frames);
}

}  // namespace veltrax::lv2
