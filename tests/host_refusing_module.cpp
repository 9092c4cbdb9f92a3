// A module whose entry function never creates an instance, as a module does
// when the host answers its version query with 0. It exports getinterface
// only, so it also stands for a module that lacks the other entry.
#include "frame/AEffect.h"

extern "C" __attribute__((visibility("default"))) void* getinterface(audioMasterCallback) {
  return nullptr;
}
