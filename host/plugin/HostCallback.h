// The host callback every instance is created with. It answers the version
// query (2400, without which a module creates no instance), the sample-rate
// and block-size queries of the instance that asks, and 0 to everything else.
#pragma once

#include <cstdint>

#include "frame/AEffect.h"

namespace veltrax::host {

constexpr intptr_t kHostVersion = 2400;

// What the callback knows about one instance; the record's `user` field
// points at it once the instance exists.
struct HostContext {
  double sampleRate = 44100.0;
  int32_t blockSize = 1024;
};

intptr_t hostCallback(AEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                      float opt);

}  // namespace veltrax::host
