// The bundle as a host sees it: identity, ports, features, presets and the
// binary's exports, read through lilv from the build directory.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <map>
#include <set>
#include <string>
#include <utility>

#include <lv2/core/lv2.h>
#include <lv2/presets/presets.h>
#include <lv2/units/units.h>

#include "lv2/ControlMapping.h"
#include "lv2/PluginIdentity.h"
#include "lv2/Ports.h"
#include "lv2_test_support.h"
#include "presets/NamedPresets.h"

namespace {

using namespace veltrax::lv2;

struct Node {
  explicit Node(LilvNode* n) : node(n) {}
  ~Node() { lilv_node_free(node); }
  Node(const Node&) = delete;
  LilvNode* node;
  LilvNode* get() const { return node; }
};

Node uri(const char* text) { return Node(lilv_new_uri(lv2test::world().lilv(), text)); }

const LilvPlugin* plugin() {
  const LilvPlugin* p = lv2test::world().plugin(kPluginUri);
  EXPECT_NE(p, nullptr) << kPluginUri << " not found on " << VELTRAX_LV2_PATH;
  return p;
}

TEST(Lv2Bundle, IdentityAsAHostReadsIt) {
  const LilvPlugin* p = plugin();
  ASSERT_NE(p, nullptr);
  Node name(lilv_plugin_get_name(p));
  EXPECT_STREQ(lilv_node_as_string(name.get()), "VELTRAX");
  EXPECT_STREQ(lilv_node_as_uri(lilv_plugin_class_get_uri(lilv_plugin_get_class(p))),
               LV2_CORE__DistortionPlugin);
  EXPECT_FALSE(lilv_plugin_has_latency(p));

  for (const auto& [property, expected] :
       {std::pair{LV2_CORE__minorVersion, VELTRAX_VERSION_MINOR},
        std::pair{LV2_CORE__microVersion, VELTRAX_VERSION_MICRO}}) {
    Node predicate = uri(property);
    LilvNodes* values = lilv_plugin_get_value(p, predicate.get());
    ASSERT_EQ(lilv_nodes_size(values), 1u) << property;
    EXPECT_EQ(lilv_node_as_int(lilv_nodes_get_first(values)), expected) << property;
    lilv_nodes_free(values);
  }
}

TEST(Lv2Bundle, RequiresNoFeatureAndOffersHardRealTime) {
  const LilvPlugin* p = plugin();
  ASSERT_NE(p, nullptr);
  LilvNodes* required = lilv_plugin_get_required_features(p);
  EXPECT_EQ(lilv_nodes_size(required), 0u);
  lilv_nodes_free(required);
  Node hardRT = uri(LV2_CORE__hardRTCapable);
  EXPECT_TRUE(lilv_plugin_has_feature(p, hardRT.get()));
}

TEST(Lv2Bundle, PortsMatchTheLayoutTheBinaryUses) {
  const LilvPlugin* p = plugin();
  ASSERT_NE(p, nullptr);
  ASSERT_EQ(lilv_plugin_get_num_ports(p), kPortCount);
  Node audio = uri(LV2_CORE__AudioPort), control = uri(LV2_CORE__ControlPort),
       input = uri(LV2_CORE__InputPort), toggled = uri(LV2_CORE__toggled),
       designation = uri(LV2_CORE__designation);

  const struct {
    Port port;
    bool isAudio, isInput;
    float minimum, maximum, def;
  } expected[] = {
      {kPortIn, true, true, NAN, NAN, NAN},
      {kPortOut, true, false, NAN, NAN, NAN},
      // The defaults hosts read are the code's.
      {kPortEnabled, false, true, 0.0f, 1.0f, 1.0f},
      {kPortVolume, false, true, 0.0f, 10.0f, kVolumeDialDefault},
      {kPortTone, false, true, 0.0f, 10.0f, kDialDefault},
      {kPortSustain, false, true, 0.0f, 10.0f, kDialDefault},
      {kPortInputTrim, false, true, -24.0f, 24.0f, kInputTrimDefaultDb},
      {kPortOutputTrim, false, true, -24.0f, 24.0f, kOutputTrimDefaultDb},
  };
  float minimum[kPortCount], maximum[kPortCount], def[kPortCount];
  lilv_plugin_get_port_ranges_float(p, minimum, maximum, def);
  for (const auto& e : expected) {
    const LilvPort* port = lilv_plugin_get_port_by_index(p, e.port);
    const char* symbol = kPortSymbols[e.port];
    EXPECT_STREQ(lilv_node_as_string(lilv_port_get_symbol(p, port)), symbol);
    EXPECT_EQ(lilv_port_is_a(p, port, audio.get()), e.isAudio) << symbol;
    EXPECT_EQ(lilv_port_is_a(p, port, control.get()), !e.isAudio) << symbol;
    EXPECT_EQ(lilv_port_is_a(p, port, input.get()), e.isInput) << symbol;
    if (e.isAudio) continue;
    EXPECT_EQ(minimum[e.port], e.minimum) << symbol;
    EXPECT_EQ(maximum[e.port], e.maximum) << symbol;
    EXPECT_EQ(def[e.port], e.def) << symbol;
    const bool trim = e.port == kPortInputTrim || e.port == kPortOutputTrim;
    Node unitPredicate = uri(LV2_UNITS__unit);
    LilvNodes* units = lilv_port_get_value(p, port, unitPredicate.get());
    if (e.port == kPortEnabled) {
      EXPECT_EQ(lilv_nodes_size(units), 0u) << symbol;
    } else {
      ASSERT_EQ(lilv_nodes_size(units), 1u) << symbol;
      EXPECT_EQ(std::string(lilv_node_as_uri(lilv_nodes_get_first(units))) == LV2_UNITS__db, trim)
          << symbol << ": dB for the trims, the plain dial for the knobs";
    }
    lilv_nodes_free(units);
  }

  const LilvPort* enabled = lilv_plugin_get_port_by_index(p, kPortEnabled);
  Node name(lilv_port_get_name(p, enabled));
  EXPECT_STREQ(lilv_node_as_string(name.get()), "On/Off");
  EXPECT_TRUE(lilv_port_has_property(p, enabled, toggled.get()));
  LilvNodes* designations = lilv_port_get_value(p, enabled, designation.get());
  ASSERT_EQ(lilv_nodes_size(designations), 1u);
  EXPECT_STREQ(lilv_node_as_uri(lilv_nodes_get_first(designations)), LV2_CORE__enabled);
  lilv_nodes_free(designations);
}

// Each factory preset is a row of the named-preset table, and loading it puts
// dial values on the ports that the plug-in maps back to that row: exactly,
// or where no float dial maps to the row's value, to its float neighbour.
TEST(Lv2Bundle, PresetsAreTheNamedSettings) {
  std::map<std::string, std::string> found;
  for (const auto& p : lv2test::world().presets(kPluginUri)) found[p.uri] = p.label;
  ASSERT_EQ(found.size(), veltrax::kNamedPresets.size());

  auto instance = lv2test::makeInstance(48000.0, 256);
  ASSERT_NE(instance, nullptr);
  for (const auto& preset : veltrax::kNamedPresets) {
    const std::string presetUri = kPresetUriPrefix + std::string(preset.name);
    ASSERT_EQ(found.count(presetUri), 1u) << presetUri;
    EXPECT_EQ(found[presetUri], preset.label);

    ASSERT_TRUE(instance->setControl("enabled", 0.0f));
    ASSERT_TRUE(instance->loadPreset(presetUri)) << presetUri;
    for (const auto& [symbol, knob] :
         {std::pair{"sustain", preset.sustain}, std::pair{"tone", preset.tone},
          std::pair{"volume", preset.volume}})
      EXPECT_LE(std::fabs(knobParameter(*instance->control(symbol)) - knob),
                std::nextafter(knob, 2.0f) - knob)
          << preset.name << " " << symbol;
    EXPECT_EQ(*instance->control("enabled"), 0.0f) << "a preset leaves On/Off alone";
    EXPECT_EQ(*instance->control("output"), kOutputTrimDefaultDb) << "and the trims";
  }
}

// The test host's --preset takes a preset's URI, the URI's last segment or
// its label, and refuses anything else with a message instead of crashing.
TEST(Lv2TestHostRunner, FindsPresetsByNameOrUriAndRefusesOthersClearly) {
  const struct {
    std::string preset;
    int exitCode;
    const char* says;
  } cases[] = {
      {"doom", 0, "peak="},
      {std::string(kPresetUriPrefix) + "dark-wall", 0, "peak="},
      {"Bright lead", 0, "peak="},
      {"no-such-preset", 1, "no preset 'no-such-preset'"},
      {"not a uri at all", 1, "no preset 'not a uri at all'"},
  };
  for (const auto& c : cases) {
    const std::string command = std::string(VELTRAX_LV2HOST) + " --lv2-path '" + VELTRAX_LV2_PATH +
                                "' --seconds 0.05 --repeat 1 --preset '" + c.preset + "' " +
                                kPluginUri + " 2>&1";
    FILE* pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string said;
    char chunk[256];
    while (size_t n = fread(chunk, 1, sizeof chunk, pipe)) said.append(chunk, n);
    const int status = pclose(pipe);
    ASSERT_TRUE(WIFEXITED(status)) << c.preset << " ended by a signal: " << said;
    EXPECT_EQ(WEXITSTATUS(status), c.exitCode) << c.preset << ": " << said;
    EXPECT_NE(said.find(c.says), std::string::npos) << c.preset << ": " << said;
  }
}

// Only lv2_descriptor leaves the binary: the effect's entry functions, linked
// in statically, must not be found by a host scanning for a module.
TEST(Lv2Bundle, BinaryExportsOnlyTheDescriptor) {
  void* binary = dlopen(VELTRAX_LV2_BINARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(binary, nullptr) << dlerror();
  using DescriptorFunction = const LV2_Descriptor* (*)(uint32_t);
  auto descriptor = reinterpret_cast<DescriptorFunction>(dlsym(binary, "lv2_descriptor"));
  ASSERT_NE(descriptor, nullptr);
  ASSERT_NE(descriptor(0), nullptr);
  EXPECT_STREQ(descriptor(0)->URI, kPluginUri);
  EXPECT_EQ(descriptor(1), nullptr);
  for (const char* hidden : {"getinterface", "QTypeIF"})
    EXPECT_EQ(dlsym(binary, hidden), nullptr) << hidden;
  dlclose(binary);
}

}  // namespace
