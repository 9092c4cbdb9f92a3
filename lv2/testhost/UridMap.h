// The host's URI <-> URID table, offered to plug-ins as urid:map and
// urid:unmap. Mapping allocates, so plug-ins call it at instantiate time only.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <lv2/urid/urid.h>

namespace veltrax::lv2host {

class UridMap {
 public:
  UridMap();
  UridMap(const UridMap&) = delete;
  UridMap& operator=(const UridMap&) = delete;

  LV2_URID map(const char* uri);
  const char* unmap(LV2_URID urid) const;  // null for an unknown URID

  LV2_URID_Map* mapFeatureData() { return &map_; }
  LV2_URID_Unmap* unmapFeatureData() { return &unmap_; }

 private:
  std::unordered_map<std::string, LV2_URID> ids_;
  std::vector<std::unique_ptr<std::string>> uris_;  // URID n is uris_[n - 1]; stable c_str()
  LV2_URID_Map map_;
  LV2_URID_Unmap unmap_;
};

}  // namespace veltrax::lv2host
