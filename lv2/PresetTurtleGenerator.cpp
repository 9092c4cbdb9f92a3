// Build-time generator of the bundle's preset Turtle from the project's one
// table of named knob settings (host/NamedPresets.h).
//
//   veltrax_lv2_presetgen MANIFEST_BASE MANIFEST_OUT PRESETS_OUT
//
// MANIFEST_OUT is MANIFEST_BASE (the configured plug-in entry) followed by one
// entry per preset; PRESETS_OUT holds each preset's label and dial values.
// Every dial value is written as the shortest decimal that the plug-in maps
// back to the table's knob value, exactly where the float grid allows and
// otherwise to its nearest neighbour; the build fails if it cannot get that close.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>

#include "lv2/ControlMapping.h"
#include "lv2/PluginIdentity.h"
#include "lv2/Ports.h"
#include "presets/NamedPresets.h"

namespace {

using veltrax::NamedPreset;
namespace lv2 = veltrax::lv2;

// Decimal text of the dial reading for `knob` (0..1). A float dial d maps to
// d / 10, and in 8..10 the dial's float grid is coarser than the knob's, so
// not every knob value has a dial that maps to it exactly (0.97 has none).
// Takes the shortest text that maps back exactly, else the shortest whose
// mapping lies nearest (one step of the knob's float grid at most).
std::optional<std::string> dialText(float knob) {
  const float dial = knob * lv2::kDialMax;
  std::string best;
  float bestError = 0.0f;
  for (int decimals = 1; decimals <= 9; ++decimals) {
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", decimals, static_cast<double>(dial));
    const float error = std::fabs(lv2::knobParameter(std::strtof(text, nullptr)) - knob);
    if (best.empty() || error < bestError) {
      best = text;
      bestError = error;
    }
    if (error == 0.0f) break;
  }
  const float oneStep = std::nextafter(knob, 2.0f) - knob;
  if (bestError > oneStep) return std::nullopt;
  return best;  // always with a point: a Turtle decimal
}

std::string presetUri(const NamedPreset& preset) {
  return std::string(lv2::kPresetUriPrefix) + std::string(preset.name);
}

bool writePresetDescription(std::ostream& out, const NamedPreset& preset) {
  const struct {
    lv2::Port port;
    float knob;
  } dials[] = {{lv2::kPortSustain, preset.sustain},
               {lv2::kPortTone, preset.tone},
               {lv2::kPortVolume, preset.volume}};
  out << "\n<" << presetUri(preset) << ">\n"
      << "    a pset:Preset ;\n"
      << "    lv2:appliesTo <" << lv2::kPluginUri << "> ;\n"
      << "    rdfs:label \"" << preset.label << "\" ;\n"
      << "    lv2:port ";
  for (size_t i = 0; i < std::size(dials); ++i) {
    const auto text = dialText(dials[i].knob);
    if (!text) {
      std::cerr << "preset " << preset.name << ": no dial text maps back to " << dials[i].knob
                << "\n";
      return false;
    }
    out << (i == 0 ? "[\n" : " , [\n") << "        lv2:symbol \""
        << lv2::kPortSymbols[dials[i].port] << "\" ;\n"
        << "        pset:value " << *text << "\n    ]";
  }
  out << " .\n";
  return true;
}

constexpr const char* kPrefixes =
    "@prefix lv2:  <http://lv2plug.in/ns/lv2core#> .\n"
    "@prefix pset: <http://lv2plug.in/ns/ext/presets#> .\n"
    "@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .\n";

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: " << argv[0] << " MANIFEST_BASE MANIFEST_OUT PRESETS_OUT\n";
    return 2;
  }
  std::ifstream base(argv[1]);
  if (!base) {
    std::cerr << "cannot read " << argv[1] << "\n";
    return 1;
  }
  std::ostringstream manifest;
  manifest << base.rdbuf();
  std::ostringstream presets;
  presets << kPrefixes;
  for (const NamedPreset& preset : veltrax::kNamedPresets) {
    manifest << "\n<" << presetUri(preset) << ">\n"
             << "    a pset:Preset ;\n"
             << "    lv2:appliesTo <" << lv2::kPluginUri << "> ;\n"
             << "    rdfs:seeAlso <presets.ttl> .\n";
    if (!writePresetDescription(presets, preset)) return 1;
  }
  std::ofstream manifestOut(argv[2]);
  std::ofstream presetsOut(argv[3]);
  manifestOut << manifest.str();
  presetsOut << presets.str();
  if (!manifestOut.flush() || !presetsOut.flush()) {
    std::cerr << "cannot write the preset Turtle\n";
    return 1;
  }
  return 0;
}
