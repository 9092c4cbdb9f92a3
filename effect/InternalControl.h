// Calls into a VELTRAX instance that lie outside the host interface. They are
// for code linked into the same binary as the effect (the LV2 wrapper, the
// tests, the benchmarks); the module exports none of them.
#pragma once

#include <cstdint>

#include "frame/AEffect.h"

namespace veltrax {

// Grows the per-block buffers so that blocks of up to `frames` samples allocate
// nothing on the audio thread. Returns false if `effect` is not a VELTRAX
// record or the memory cannot be had (the buffers then stay as they were).
// Call it while audio is stopped, like the sample-rate change.
bool reserveBlockCapacity(AEffect* effect, int32_t frames);

// The signal chain exists twice with identical output: the plain transcription
// (the portable reference) and the scheduled fast engine. Default: fast.
enum class Engine { plain, fast };
bool selectEngine(AEffect* effect, Engine engine);

}  // namespace veltrax
