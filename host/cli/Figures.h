// The figures of `veltrax plot` and `veltrax demo`: measures the module,
// writes the tables as CSV into a directory and has the plot script draw
// them as PNGs there.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/plugin/ModuleLibrary.h"
#include "presets/NamedPresets.h"

namespace veltrax::host {

// The preset whose spectrum the riff figure compares with the dry riff.
inline constexpr std::string_view kSpectrumPreset = "classic-fuzz";

// Writes tone_response, level_curves, riff_spectrum, rate_response (tone
// response at 44.1, 48, 96 and 192 kHz) and riff_levels (riff output RMS
// against its input peak level) (.csv and .png) into
// `directory`; `dryRiff` and `processedRiff` are the demo riff before and
// after the spectrum preset. Returns the PNG paths.
std::vector<std::string> writeFigures(const std::shared_ptr<ModuleLibrary>& module,
                                      const std::string& directory,
                                      const std::vector<double>& dryRiff,
                                      const std::vector<double>& processedRiff);

}  // namespace veltrax::host
