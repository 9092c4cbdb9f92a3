// What the plug-in reads from the host at instantiate time, and how control
// port readings become parameter values.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>

#include "lv2/ControlMapping.h"
#include "lv2/HostFeatures.h"

namespace {

using namespace veltrax::lv2;

// A host's features, assembled per case: a URID map, an options list, extras.
class FakeHost {
 public:
  LV2_URID map(const char* uri) {
    for (size_t i = 0; i < uris_.size(); ++i)
      if (uris_[i] == uri) return static_cast<LV2_URID>(i + 1);
    uris_.emplace_back(uri);
    return static_cast<LV2_URID>(uris_.size());
  }
  void addOption(LV2_Options_Context context, const char* key, const char* type, const void* value,
                 uint32_t size) {
    options_.push_back({context, 0, map(key), size, map(type), value});
  }
  const LV2_Feature* const* features(bool withMap, bool withOptions, bool bounded) {
    options_.push_back({LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr});
    storage_.clear();
    if (withMap) storage_.push_back({LV2_URID__map, &mapFeature_});
    if (withOptions) storage_.push_back({LV2_OPTIONS__options, options_.data()});
    if (bounded) storage_.push_back({LV2_BUF_SIZE__boundedBlockLength, nullptr});
    list_.clear();
    for (const auto& f : storage_) list_.push_back(&f);
    list_.push_back(nullptr);
    return list_.data();
  }

 private:
  static LV2_URID mapThunk(LV2_URID_Map_Handle h, const char* uri) {
    return static_cast<FakeHost*>(h)->map(uri);
  }
  std::vector<std::string> uris_;
  LV2_URID_Map mapFeature_{this, &FakeHost::mapThunk};
  std::vector<LV2_Options_Option> options_;
  std::vector<LV2_Feature> storage_;
  std::vector<const LV2_Feature*> list_;
};

const int32_t kInt1024 = 1024;
const int64_t kLong4096 = 4096;
const float kFloat512 = 512.0f;
const int32_t kIntZero = 0;
const int32_t kIntNegative = -64;
const int32_t kIntHuge = 1 << 30;

TEST(Lv2HostFeatures, MaxBlockLengthIsTakenOnlyFromAWellFormedInstanceOption) {
  struct Case {
    const char* what;
    bool withMap, withOptions;
    LV2_Options_Context context;
    const char* type;
    const void* value;
    uint32_t size;
    uint32_t expectedMax;
    uint32_t expectedReserve;
  };
  const Case cases[] = {
      {"atom:Int", true, true, LV2_OPTIONS_INSTANCE, LV2_ATOM__Int, &kInt1024, 4, 1024, 1024},
      {"atom:Long", true, true, LV2_OPTIONS_INSTANCE, LV2_ATOM__Long, &kLong4096, 8, 4096, 4096},
      {"no urid:map to read keys", false, true, LV2_OPTIONS_INSTANCE, LV2_ATOM__Int, &kInt1024, 4,
       0, kDefaultReserveFrames},
      {"options not offered", true, false, LV2_OPTIONS_INSTANCE, LV2_ATOM__Int, &kInt1024, 4, 0,
       kDefaultReserveFrames},
      {"wrong type", true, true, LV2_OPTIONS_INSTANCE, LV2_ATOM__Float, &kFloat512, 4, 0,
       kDefaultReserveFrames},
      {"size not an Int's", true, true, LV2_OPTIONS_INSTANCE, LV2_ATOM__Int, &kLong4096, 8, 0,
       kDefaultReserveFrames},
      {"port context", true, true, LV2_OPTIONS_PORT, LV2_ATOM__Int, &kInt1024, 4, 0,
       kDefaultReserveFrames},
      {"zero", true, true, LV2_OPTIONS_INSTANCE, LV2_ATOM__Int, &kIntZero, 4, 0,
       kDefaultReserveFrames},
      {"negative", true, true, LV2_OPTIONS_INSTANCE, LV2_ATOM__Int, &kIntNegative, 4, 0,
       kDefaultReserveFrames},
      {"beyond the cap", true, true, LV2_OPTIONS_INSTANCE, LV2_ATOM__Int, &kIntHuge, 4, 1u << 30,
       kMaxReserveFrames},
  };
  for (const Case& c : cases) {
    FakeHost host;
    host.addOption(LV2_OPTIONS_INSTANCE, LV2_BUF_SIZE__minBlockLength, LV2_ATOM__Int, &kIntZero, 4);
    host.addOption(c.context, LV2_BUF_SIZE__maxBlockLength, c.type, c.value, c.size);
    const HostBlockInfo info = scanHostFeatures(host.features(c.withMap, c.withOptions, false));
    EXPECT_EQ(info.maxBlockLength, c.expectedMax) << c.what;
    EXPECT_EQ(reserveFramesFor(info), c.expectedReserve) << c.what;
  }
}

// A host may also give no features at all: an empty list or none.
TEST(Lv2HostFeatures, BoundedBlockLengthIsSeenAndNoFeaturesMeanTheDefaults) {
  FakeHost host;
  EXPECT_TRUE(scanHostFeatures(host.features(true, true, true)).boundedBlockLength);
  EXPECT_FALSE(scanHostFeatures(host.features(true, true, false)).boundedBlockLength);
  const LV2_Feature* const none[] = {nullptr};
  for (const LV2_Feature* const* features :
       {none, static_cast<const LV2_Feature* const*>(nullptr)}) {
    const HostBlockInfo info = scanHostFeatures(features);
    EXPECT_EQ(info.maxBlockLength, 0u);
    EXPECT_FALSE(info.boundedBlockLength);
    EXPECT_EQ(reserveFramesFor(info), kDefaultReserveFrames);
  }
}

TEST(Lv2ControlMapping, DialsAreClampedToZeroToTenAndDividedByTenTogglesAreOnAboveZero) {
  struct Case {
    uint32_t port;
    float reading;
    float parameter;
  };
  const Case cases[] = {
      {kPortVolume, 5.0f, 0.5f},   {kPortTone, 10.0f, 1.0f},   {kPortSustain, 0.0f, 0.0f},
      {kPortTone, 8.5f, 0.85f},    {kPortVolume, -2.0f, 0.0f}, {kPortSustain, 11.0f, 1.0f},
      {kPortEnabled, 1.0f, 1.0f},  {kPortEnabled, 0.0f, 0.0f}, {kPortEnabled, 0.5f, 1.0f},
      {kPortEnabled, -1.0f, 0.0f},
  };
  for (const Case& c : cases)
    EXPECT_EQ(parameterForPort(c.port, c.reading), c.parameter)
        << kPortSymbols[c.port] << " " << c.reading;
  EXPECT_TRUE(std::isnan(parameterForPort(kPortTone, NAN)));
  EXPECT_TRUE(std::isnan(parameterForPort(kPortEnabled, NAN)));
}

}  // namespace
