#include "effect/InternalControl.h"

#include "effect/VELTRAX.h"

namespace veltrax {
namespace {

// The VELTRAX behind a record, or nullptr if the record is not one of ours.
VELTRAX* effectBehind(AEffect* effect) {
  if (!effect || effect->magic != kEffectMagic || !effect->object) return nullptr;
  return dynamic_cast<VELTRAX*>(static_cast<AudioEffect*>(effect->object));
}

}  // namespace

bool reserveBlockCapacity(AEffect* effect, int32_t frames) {
  VELTRAX* fx = effectBehind(effect);
  return fx && fx->reserveBlockCapacity(frames);
}

bool selectEngine(AEffect* effect, Engine engine) {
  VELTRAX* fx = effectBehind(effect);
  if (!fx) return false;
  fx->selectEngine(engine);
  return true;
}

}  // namespace veltrax
