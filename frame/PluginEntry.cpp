// The module's two exported entry functions. Each call creates one effect
// instance and hands the host a Q_TypeIF holding its AEffect record.
#include <new>

#include "frame/AudioEffect.h"
#include "frame/PluginFactory.h"
#include "frame/QTypeIF.h"

#define VELTRAX_EXPORT extern "C" __attribute__((visibility("default")))

Q_TypeIF::Q_TypeIF(AEffect* e) : effect(nullptr) {
  effect = static_cast<AudioEffect*>(e->object)->getAeffect();
}

Q_TypeIF::~Q_TypeIF() = default;

namespace {

// Asks the host its version (any non-zero answer lets creation go ahead),
// creates the effect and returns its interface object; null when the host
// answers 0, there is no callback, or anything on the way throws.
Q_TypeIF* createInterface(audioMasterCallback audioMaster) {
  void* memory = ::operator new(sizeof(Q_TypeIF), std::nothrow);
  if (!memory) return nullptr;
  AEffect* record = nullptr;
  try {
    const intptr_t version =
        audioMaster ? audioMaster(nullptr, audioMasterVersion, 0, 0, nullptr, 0.0f) : 0;
    AudioEffect* effect = version != 0 ? createPluginFilter(audioMaster) : nullptr;
    if (effect) record = effect->getAeffect();
  } catch (...) {
    record = nullptr;
  }
  if (!record) {
    ::operator delete(memory);
    return nullptr;
  }
  try {
    return new (memory) Q_TypeIF(record);
  } catch (...) {
    ::operator delete(memory);
    throw;
  }
}

}  // namespace

// Host calls once per instance, from any thread, with its callback.
VELTRAX_EXPORT void* getinterface(audioMasterCallback audioMaster) {
  return createInterface(audioMaster);
}

// Same as getinterface in every respect.
VELTRAX_EXPORT void* QTypeIF(audioMasterCallback audioMaster) {
  return createInterface(audioMaster);
}
