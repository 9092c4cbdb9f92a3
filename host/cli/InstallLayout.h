// Where the CLI finds its companions: the module and the plot script sit in
// fixed places relative to the executable, both in the build tree
// (build/<preset>/host/veltrax, build/<preset>/veltrax.so) and in an
// installation (bin/veltrax, <libdir>/veltrax/veltrax.so with the library
// directory of the build's prefix, share/veltrax/veltrax_plots.py).
#pragma once

#include <string>

namespace veltrax::host {

// Directory of the running executable (from /proc/self/exe).
std::string executableDirectory();

// The module to load: `explicitPath` if given, else $VELTRAX_MODULE if set,
// else the first existing default location. Throws HostError if none exists.
std::string locateModule(const std::string& explicitPath);

// The plot script next to the executable; throws HostError if missing.
std::string locatePlotScript();

}  // namespace veltrax::host
