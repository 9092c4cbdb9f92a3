#include "lv2/testhost/Lv2TestHost.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <set>
#include <sstream>

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/presets/presets.h>

namespace veltrax::lv2host {
namespace {

struct NodeDeleter {
  void operator()(LilvNode* node) const { lilv_node_free(node); }
};
using Node = std::unique_ptr<LilvNode, NodeDeleter>;

Node uriNode(LilvWorld* world, const char* uri) { return Node(lilv_new_uri(world, uri)); }

// lilv maps every bundle directory to a file URI and rejects relative
// ones, so each entry of a colon-separated search path is made absolute.
std::string absoluteSearchPath(const std::string& lv2Path) {
  std::string result;
  std::stringstream entries(lv2Path);
  for (std::string entry; std::getline(entries, entry, ':');) {
    if (entry.empty()) continue;
    if (!result.empty()) result += ':';
    result += std::filesystem::absolute(entry).lexically_normal().string();
  }
  return result;
}

constexpr size_t kAtomBufferBytes = 8192;
constexpr uint32_t kDefaultHostBufferFrames = 8192;

void fail(std::string* error, std::string message) {
  if (error != nullptr) *error = std::move(message);
}

}  // namespace

Lv2World::Lv2World(const std::string& lv2Path) : world_(lilv_world_new()) {
  if (!lv2Path.empty()) {
    LilvNode* path = lilv_new_string(world_, absoluteSearchPath(lv2Path).c_str());
    lilv_world_set_option(world_, LILV_OPTION_LV2_PATH, path);
    lilv_node_free(path);
  }
  lilv_world_load_all(world_);
}

Lv2World::~Lv2World() { lilv_world_free(world_); }

const LilvPlugin* Lv2World::plugin(const std::string& uri) const {
  Node node = uriNode(world_, uri.c_str());
  return lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world_), node.get());
}

std::vector<PresetInfo> Lv2World::presets(const std::string& pluginUri) const {
  std::vector<PresetInfo> result;
  const LilvPlugin* p = plugin(pluginUri);
  if (p == nullptr) return result;
  Node presetClass = uriNode(world_, LV2_PRESETS__Preset);
  Node label = uriNode(world_, LILV_NS_RDFS "label");
  LilvNodes* related = lilv_plugin_get_related(p, presetClass.get());
  LILV_FOREACH(nodes, i, related) {
    const LilvNode* preset = lilv_nodes_get(related, i);
    lilv_world_load_resource(world_, preset);
    Node text(lilv_world_get(world_, preset, label.get(), nullptr));
    result.push_back({lilv_node_as_uri(preset), text ? lilv_node_as_string(text.get()) : ""});
  }
  lilv_nodes_free(related);
  return result;
}

namespace {

bool sameIgnoringCase(const std::string& a, const std::string& b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

}  // namespace

std::optional<std::string> Lv2World::findPreset(const std::string& pluginUri,
                                                const std::string& name) const {
  std::optional<std::string> found;
  for (const PresetInfo& preset : presets(pluginUri)) {
    const std::string segment = preset.uri.substr(preset.uri.find_last_of(":/#") + 1);
    if (preset.uri == name) return preset.uri;
    if (!sameIgnoringCase(segment, name) && !sameIgnoringCase(preset.label, name)) continue;
    if (found && *found != preset.uri) return std::nullopt;  // ambiguous
    found = preset.uri;
  }
  return found;
}

Lv2Instance::Lv2Instance(Lv2World& world, const LilvPlugin* plugin)
    : world_(world), plugin_(plugin) {
  UridMap& u = world.urids();
  urid_ = {u.map(LV2_ATOM__Float), u.map(LV2_ATOM__Double), u.map(LV2_ATOM__Int),
           u.map(LV2_ATOM__Long),  u.map(LV2_ATOM__Bool),   u.map(LV2_ATOM__Sequence),
           u.map(LV2_ATOM__Chunk)};
}

std::unique_ptr<Lv2Instance> Lv2Instance::create(Lv2World& world, const std::string& pluginUri,
                                                 const InstanceOptions& options,
                                                 std::string* error) {
  const LilvPlugin* plugin = world.plugin(pluginUri);
  if (plugin == nullptr) {
    fail(error, "plug-in not found: " + pluginUri);
    return nullptr;
  }
  std::unique_ptr<Lv2Instance> self(new Lv2Instance(world, plugin));

  if (options.offerFeatures) {
    UridMap& u = world.urids();
    self->maxBlockLength_ = static_cast<int32_t>(options.maxBlockLength);
    if (options.maxBlockLength != 0)
      self->options_.push_back({LV2_OPTIONS_INSTANCE, 0, u.map(LV2_BUF_SIZE__maxBlockLength),
                                sizeof(int32_t), u.map(LV2_ATOM__Int), &self->maxBlockLength_});
    self->options_.push_back({LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr});
    self->featureStorage_.push_back({LV2_URID__map, u.mapFeatureData()});
    self->featureStorage_.push_back({LV2_URID__unmap, u.unmapFeatureData()});
    self->featureStorage_.push_back({LV2_OPTIONS__options, self->options_.data()});
    if (options.boundedBlockLength)
      self->featureStorage_.push_back({LV2_BUF_SIZE__boundedBlockLength, nullptr});
  }
  for (const LV2_Feature& f : self->featureStorage_) self->features_.push_back(&f);
  self->features_.push_back(nullptr);

  std::set<std::string> offered;
  for (const LV2_Feature& f : self->featureStorage_) offered.insert(f.URI);
  LilvNodes* required = lilv_plugin_get_required_features(plugin);
  std::string missing;
  LILV_FOREACH(nodes, i, required) {
    const char* uri = lilv_node_as_uri(lilv_nodes_get(required, i));
    if (offered.count(uri) == 0) missing += std::string(missing.empty() ? "" : ", ") + uri;
  }
  lilv_nodes_free(required);
  if (!missing.empty()) {
    fail(error, "plug-in requires features this host does not offer: " + missing);
    return nullptr;
  }

  self->instance_ = lilv_plugin_instantiate(plugin, options.sampleRate, self->features_.data());
  if (self->instance_ == nullptr) {
    fail(error, "the plug-in refused to instantiate");
    return nullptr;
  }
  if (!self->connectPorts(error)) return nullptr;
  self->ensureHostBuffers(std::max(options.maxBlockLength, kDefaultHostBufferFrames));
  return self;
}

Lv2Instance::~Lv2Instance() {
  if (instance_ == nullptr) return;
  if (active_) lilv_instance_deactivate(instance_);
  lilv_instance_free(instance_);
}

bool Lv2Instance::connectPorts(std::string* error) {
  LilvWorld* w = world_.lilv();
  Node audio = uriNode(w, LV2_CORE__AudioPort);
  Node controlClass = uriNode(w, LV2_CORE__ControlPort);
  Node cv = uriNode(w, LV2_CORE__CVPort);
  Node input = uriNode(w, LV2_CORE__InputPort);
  Node atom = uriNode(w, LV2_ATOM__AtomPort);
  Node optional = uriNode(w, LV2_CORE__connectionOptional);

  const uint32_t count = lilv_plugin_get_num_ports(plugin_);
  std::vector<float> minimum(count), maximum(count), defaults(count);
  lilv_plugin_get_port_ranges_float(plugin_, minimum.data(), maximum.data(), defaults.data());
  controls_.assign(count, 0.0f);

  for (uint32_t p = 0; p < count; ++p) {
    const LilvPort* port = lilv_plugin_get_port_by_index(plugin_, p);
    const bool isInput = lilv_port_is_a(plugin_, port, input.get());
    if (lilv_port_is_a(plugin_, port, controlClass.get())) {
      controls_[p] = !std::isnan(defaults[p])  ? defaults[p]
                     : !std::isnan(minimum[p]) ? minimum[p]
                                               : 0.0f;
      lilv_instance_connect_port(instance_, p, &controls_[p]);
      if (isInput) controlInputs_[lilv_node_as_string(lilv_port_get_symbol(plugin_, port))] = p;
    } else if (lilv_port_is_a(plugin_, port, audio.get())) {
      if (isInput)
        audioInputs_.push_back(p);
      else if (audioOutputs_.empty())
        audioOutputs_.push_back(p);
      else
        hostBufferPorts_.push_back(p);
    } else if (lilv_port_is_a(plugin_, port, cv.get())) {
      hostBufferPorts_.push_back(p);
    } else if (lilv_port_is_a(plugin_, port, atom.get())) {
      AtomBuffer buffer;
      buffer.words.assign(kAtomBufferBytes / sizeof(uint64_t), 0);
      buffer.output = !isInput;
      atomPorts_.emplace_back(p, std::move(buffer));
    } else if (lilv_port_has_property(plugin_, port, optional.get())) {
      lilv_instance_connect_port(instance_, p, nullptr);
    } else {
      fail(error, "port " + std::to_string(p) + " has a type this host does not support");
      return false;
    }
  }
  for (auto& [index, buffer] : atomPorts_)
    lilv_instance_connect_port(instance_, index, buffer.words.data());
  resetAtomBuffers();
  return true;
}

void Lv2Instance::ensureHostBuffers(uint32_t frames) {
  if (hostBufferPorts_.empty() || frames <= hostBufferFrames_) return;
  hostBuffers_.resize(hostBufferPorts_.size());
  for (size_t i = 0; i < hostBufferPorts_.size(); ++i) {
    hostBuffers_[i].assign(frames, 0.0f);
    lilv_instance_connect_port(instance_, hostBufferPorts_[i], hostBuffers_[i].data());
  }
  hostBufferFrames_ = frames;
}

void Lv2Instance::resetAtomBuffers() {
  for (auto& [index, buffer] : atomPorts_) {
    auto* sequence = reinterpret_cast<LV2_Atom_Sequence*>(buffer.words.data());
    if (buffer.output) {
      sequence->atom.size = kAtomBufferBytes - sizeof(LV2_Atom);
      sequence->atom.type = urid_.chunkType;
    } else {
      sequence->atom.size = sizeof(LV2_Atom_Sequence_Body);
      sequence->atom.type = urid_.sequenceType;
      sequence->body.unit = 0;
      sequence->body.pad = 0;
    }
  }
}

bool Lv2Instance::setControl(std::string_view symbol, float value) {
  auto it = controlInputs_.find(std::string(symbol));
  if (it == controlInputs_.end()) return false;
  controls_[it->second] = value;
  return true;
}

std::optional<float> Lv2Instance::control(std::string_view symbol) const {
  auto it = controlInputs_.find(std::string(symbol));
  if (it == controlInputs_.end()) return std::nullopt;
  return controls_[it->second];
}

void Lv2Instance::setPortValue(const char* symbol, void* self, const void* value, uint32_t size,
                               uint32_t type) {
  auto* instance = static_cast<Lv2Instance*>(self);
  const auto& t = instance->urid_;
  float v;
  if (type == t.floatType && size == sizeof(float)) {
    std::memcpy(&v, value, sizeof v);
  } else if (type == t.doubleType && size == sizeof(double)) {
    double d;
    std::memcpy(&d, value, sizeof d);
    v = static_cast<float>(d);
  } else if ((type == t.intType || type == t.boolType) && size == sizeof(int32_t)) {
    int32_t i;
    std::memcpy(&i, value, sizeof i);
    v = static_cast<float>(i);
  } else if (type == t.longType && size == sizeof(int64_t)) {
    int64_t l;
    std::memcpy(&l, value, sizeof l);
    v = static_cast<float>(l);
  } else {
    return;  // not a number a control port can take
  }
  instance->setControl(symbol, v);
}

bool Lv2Instance::loadPreset(const std::string& presetUri) {
  LilvWorld* w = world_.lilv();
  Node preset = uriNode(w, presetUri.c_str());
  if (!preset) return false;  // not a URI lilv accepts
  lilv_world_load_resource(w, preset.get());
  LilvState* state = lilv_state_new_from_world(w, world_.urids().mapFeatureData(), preset.get());
  if (state == nullptr) return false;
  lilv_state_restore(state, instance_, &Lv2Instance::setPortValue, this, 0, features_.data());
  lilv_state_free(state);
  return true;
}

void Lv2Instance::activate() {
  if (active_) return;
  lilv_instance_activate(instance_);
  active_ = true;
}

void Lv2Instance::deactivate() {
  if (!active_) return;
  lilv_instance_deactivate(instance_);
  active_ = false;
}

void Lv2Instance::run(const float* in, float* out, uint32_t frames) {
  ensureHostBuffers(frames);
  for (uint32_t port : audioInputs_)
    lilv_instance_connect_port(instance_, port, const_cast<float*>(in));
  if (!audioOutputs_.empty()) lilv_instance_connect_port(instance_, audioOutputs_.front(), out);
  if (!atomPorts_.empty()) resetAtomBuffers();
  lilv_instance_run(instance_, frames);
}

double renderInBlocks(Lv2Instance& instance, const float* in, float* out, size_t frames,
                      uint32_t blockLength) {
  if (blockLength == 0) return 0.0;
  const auto start = std::chrono::steady_clock::now();
  for (size_t done = 0; done < frames;) {
    const auto n = static_cast<uint32_t>(std::min<size_t>(blockLength, frames - done));
    instance.run(in + done, out + done, n);
    done += n;
  }
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace veltrax::lv2host
