#include "lv2/HostFeatures.h"

#include <cstring>

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>

namespace veltrax::lv2 {
namespace {

bool isTerminator(const LV2_Options_Option& option) {
  return option.key == 0 && option.value == nullptr;
}

// The option's value as a positive frame count, or 0 if it is not one.
uint32_t positiveFrames(const LV2_Options_Option& option, LV2_URID intType, LV2_URID longType) {
  if (option.value == nullptr) return 0;
  int64_t frames = 0;
  if (option.type == intType && option.size == sizeof(int32_t)) {
    int32_t v;
    std::memcpy(&v, option.value, sizeof v);
    frames = v;
  } else if (option.type == longType && option.size == sizeof(int64_t)) {
    std::memcpy(&frames, option.value, sizeof frames);
  }
  if (frames <= 0) return 0;
  return frames > int64_t{UINT32_MAX} ? UINT32_MAX : static_cast<uint32_t>(frames);
}

}  // namespace

HostBlockInfo scanHostFeatures(const LV2_Feature* const* features) {
  HostBlockInfo info;
  const LV2_URID_Map* map = nullptr;
  const LV2_Options_Option* options = nullptr;
  for (const LV2_Feature* const* f = features; f != nullptr && *f != nullptr; ++f) {
    const char* uri = (*f)->URI;
    if (uri == nullptr) continue;
    if (std::strcmp(uri, LV2_URID__map) == 0)
      map = static_cast<const LV2_URID_Map*>((*f)->data);
    else if (std::strcmp(uri, LV2_OPTIONS__options) == 0)
      options = static_cast<const LV2_Options_Option*>((*f)->data);
    else if (std::strcmp(uri, LV2_BUF_SIZE__boundedBlockLength) == 0)
      info.boundedBlockLength = true;
  }
  // Option keys and types are URIDs: without the host's map they cannot be read.
  if (map == nullptr || map->map == nullptr || options == nullptr) return info;

  const LV2_URID maxKey = map->map(map->handle, LV2_BUF_SIZE__maxBlockLength);
  const LV2_URID intType = map->map(map->handle, LV2_ATOM__Int);
  const LV2_URID longType = map->map(map->handle, LV2_ATOM__Long);
  for (const LV2_Options_Option* o = options; !isTerminator(*o); ++o) {
    if (o->context == LV2_OPTIONS_INSTANCE && o->key == maxKey && maxKey != 0) {
      const uint32_t frames = positiveFrames(*o, intType, longType);
      if (frames != 0) info.maxBlockLength = frames;
    }
  }
  return info;
}

uint32_t reserveFramesFor(const HostBlockInfo& info) {
  const uint32_t wanted = info.maxBlockLength != 0 ? info.maxBlockLength : kDefaultReserveFrames;
  return wanted > kMaxReserveFrames ? kMaxReserveFrames : wanted;
}

}  // namespace veltrax::lv2
