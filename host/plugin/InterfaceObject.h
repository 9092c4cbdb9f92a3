// The host's view of the interface object a module's entry function returns:
// a polymorphic object whose only virtual operation is its destructor,
// followed by the instance's record pointer. The host never owns a class
// declaration of it, so it reads the two words and destroys it through the
// deleting destructor in the second virtual-table slot (Itanium ABI: slot 0
// ends the object, slot 1 ends and frees it).
#pragma once

#include "frame/AEffect.h"

namespace veltrax::host {

// Entry function type: the module's getinterface / QTypeIF.
using InterfaceEntry = void* (*)(audioMasterCallback);

struct InterfaceObjectView {
  void** vtable;
  AEffect* effect;
};

inline AEffect* interfaceEffect(void* object) {
  return static_cast<InterfaceObjectView*>(object)->effect;
}

// Destroys the interface object. This does not close the instance.
inline void destroyInterfaceObject(void* object) {
  using DeletingDestructor = void (*)(void*);
  reinterpret_cast<DeletingDestructor>(static_cast<InterfaceObjectView*>(object)->vtable[1])(
      object);
}

}  // namespace veltrax::host
