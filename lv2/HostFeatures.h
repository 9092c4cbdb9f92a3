// What an LV2 host tells the plug-in about its blocks at instantiate time.
#pragma once

#include <cstdint>

#include <lv2/core/lv2.h>

namespace veltrax::lv2 {

// Frames reserved when the host states no bound (lv2apply, hosts without the
// options feature). Longer runs still work: they grow the buffers once.
inline constexpr uint32_t kDefaultReserveFrames = 8192;
// Upper limit of a reservation made in advance (8 MiB per double buffer); a
// host stating more gets this much and the rest grows on first use.
inline constexpr uint32_t kMaxReserveFrames = 1u << 20;

struct HostBlockInfo {
  uint32_t maxBlockLength = 0;      // bufsz:maxBlockLength from options; 0: not stated
  bool boundedBlockLength = false;  // bufsz:boundedBlockLength offered
};

// Reads the optional features: urid:map, options (bufsz:maxBlockLength as an
// atom:Int or atom:Long for the instance) and bufsz:boundedBlockLength.
// Anything missing or malformed counts as not stated. Requires nothing.
HostBlockInfo scanHostFeatures(const LV2_Feature* const* features);

// Frames to reserve for per-block buffers: the stated maximum, else the
// default, capped at kMaxReserveFrames.
uint32_t reserveFramesFor(const HostBlockInfo& info);

}  // namespace veltrax::lv2
