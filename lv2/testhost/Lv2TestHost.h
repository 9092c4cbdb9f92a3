// A small lilv-based LV2 host for tests and benchmarks: finds a plug-in on a
// given LV2 search path, instantiates it with or without host features, sets
// control ports by symbol, applies presets and runs blocks from memory.
//
// Port handling is generic so that any plug-in can be driven: every audio
// input reads the caller's input block, the first audio output writes the
// caller's output block (further outputs and CV ports use host buffers),
// control ports hold their defaults until set, atom ports get empty
// sequences. The host offers urid:map, urid:unmap, options (with
// bufsz:maxBlockLength when one is stated) and bufsz:boundedBlockLength;
// plug-ins that require anything else are refused.
#pragma once

#include <lilv/lilv.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <lv2/options/options.h>

#include "lv2/testhost/UridMap.h"

namespace veltrax::lv2host {

struct PresetInfo {
  std::string uri;
  std::string label;
};

class Lv2World {
 public:
  // Loads every bundle on `lv2Path` (directories separated by ':'). An empty
  // path leaves the choice to lilv (LV2_PATH or its default).
  explicit Lv2World(const std::string& lv2Path = {});
  ~Lv2World();
  Lv2World(const Lv2World&) = delete;
  Lv2World& operator=(const Lv2World&) = delete;

  LilvWorld* lilv() const { return world_; }
  UridMap& urids() { return urids_; }

  // The plug-in with this URI, or null.
  const LilvPlugin* plugin(const std::string& uri) const;
  // The presets that apply to the plug-in, with their labels.
  std::vector<PresetInfo> presets(const std::string& pluginUri) const;
  // The URI of the plug-in's preset called `name`: its full URI, the last
  // segment of its URI (after ':', '/' or '#') or its label, letter case
  // aside. nullopt when no preset or more than one matches.
  std::optional<std::string> findPreset(const std::string& pluginUri,
                                        const std::string& name) const;

 private:
  LilvWorld* world_;
  UridMap urids_;
};

struct InstanceOptions {
  double sampleRate = 48000.0;
  uint32_t maxBlockLength = 0;      // non-zero: stated as bufsz:maxBlockLength (options feature)
  bool boundedBlockLength = false;  // offer bufsz:boundedBlockLength
  bool offerFeatures = true;        // false: instantiate with no feature at all, like lv2apply
};

class Lv2Instance {
 public:
  // Null (with a reason in `error`) if the plug-in is missing, needs an
  // unsupported feature or port type, or refuses to instantiate.
  static std::unique_ptr<Lv2Instance> create(Lv2World& world, const std::string& pluginUri,
                                             const InstanceOptions& options,
                                             std::string* error = nullptr);
  ~Lv2Instance();  // deactivates if active, then frees the instance
  Lv2Instance(const Lv2Instance&) = delete;
  Lv2Instance& operator=(const Lv2Instance&) = delete;

  // Control input ports by symbol; false / nullopt for an unknown symbol.
  bool setControl(std::string_view symbol, float value);
  std::optional<float> control(std::string_view symbol) const;
  // Sets the control ports a preset names; false if `presetUri` is not a
  // valid URI or names no preset that can be loaded.
  bool loadPreset(const std::string& presetUri);

  void activate();
  void deactivate();
  bool active() const { return active_; }

  // One block. Allocates nothing unless the plug-in has extra audio outputs
  // or CV ports and `frames` exceeds every earlier block and the stated maximum.
  void run(const float* in, float* out, uint32_t frames);

  uint32_t audioInputCount() const { return static_cast<uint32_t>(audioInputs_.size()); }
  uint32_t audioOutputCount() const { return static_cast<uint32_t>(audioOutputs_.size()); }

 private:
  struct AtomBuffer {
    std::vector<uint64_t> words;  // 8-byte aligned LV2_Atom_Sequence
    bool output = false;
  };

  Lv2Instance(Lv2World& world, const LilvPlugin* plugin);
  bool connectPorts(std::string* error);
  void resetAtomBuffers();
  void ensureHostBuffers(uint32_t frames);
  static void setPortValue(const char* symbol, void* self, const void* value, uint32_t size,
                           uint32_t type);

  Lv2World& world_;
  const LilvPlugin* plugin_;
  LilvInstance* instance_ = nullptr;
  bool active_ = false;

  // Feature storage; lives as long as the instance.
  std::vector<LV2_Options_Option> options_;
  int32_t maxBlockLength_ = 0;
  std::vector<LV2_Feature> featureStorage_;
  std::vector<const LV2_Feature*> features_;

  std::vector<float> controls_;  // one slot per port index
  std::unordered_map<std::string, uint32_t> controlInputs_;
  std::vector<uint32_t> audioInputs_;
  std::vector<uint32_t> audioOutputs_;
  std::vector<uint32_t> hostBufferPorts_;  // extra audio outputs and CV ports
  std::vector<std::vector<float>> hostBuffers_;
  uint32_t hostBufferFrames_ = 0;
  std::vector<std::pair<uint32_t, AtomBuffer>> atomPorts_;

  // URIDs used while running and restoring presets, mapped once at creation.
  struct {
    LV2_URID floatType, doubleType, intType, longType, boolType, sequenceType, chunkType;
  } urid_{};
};

// Runs `frames` samples of `in` through the instance into `out`, in blocks of
// `blockLength` (the last one may be shorter). Returns the seconds spent.
double renderInBlocks(Lv2Instance& instance, const float* in, float* out, size_t frames,
                      uint32_t blockLength);

}  // namespace veltrax::lv2host
