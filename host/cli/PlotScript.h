// Runs the plot script (veltrax_plots.py) on a directory of measurement
// tables with the system's Python, which provides matplotlib.
#pragma once

#include <string>

namespace veltrax::host {

// Draws the PNGs in `directory` from the CSV tables there. Throws HostError
// if Python or the script is missing or the script fails (it reports why on
// stderr itself).
void runPlotScript(const std::string& directory);

}  // namespace veltrax::host
