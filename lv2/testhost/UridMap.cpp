#include "lv2/testhost/UridMap.h"

namespace veltrax::lv2host {

UridMap::UridMap() {
  map_.handle = this;
  map_.map = [](LV2_URID_Map_Handle h, const char* uri) {
    return static_cast<UridMap*>(h)->map(uri);
  };
  unmap_.handle = this;
  unmap_.unmap = [](LV2_URID_Unmap_Handle h, LV2_URID urid) {
    return static_cast<UridMap*>(h)->unmap(urid);
  };
}

LV2_URID UridMap::map(const char* uri) {
  if (uri == nullptr) return 0;
  auto [it, inserted] = ids_.try_emplace(uri, 0);
  if (inserted) {
    uris_.push_back(std::make_unique<std::string>(uri));
    it->second = static_cast<LV2_URID>(uris_.size());
  }
  return it->second;
}

const char* UridMap::unmap(LV2_URID urid) const {
  return urid >= 1 && urid <= uris_.size() ? uris_[urid - 1]->c_str() : nullptr;
}

}  // namespace veltrax::lv2host
