#include "host/plugin/HostCallback.h"

namespace veltrax::host {

// Called by the module from any of its threads, with a null record during
// creation; only reads the context the host fixed before processing.
intptr_t hostCallback(AEffect* effect, int32_t opcode, int32_t, intptr_t, void*, float) {
  const auto* context = effect ? static_cast<const HostContext*>(effect->user) : nullptr;
  switch (opcode) {
    case audioMasterVersion:
      return kHostVersion;
    case audioMasterGetSampleRate:
      return context ? static_cast<intptr_t>(context->sampleRate) : 0;
    case audioMasterGetBlockSize:
      return context ? context->blockSize : 0;
    default:
      return 0;
  }
}

}  // namespace veltrax::host
