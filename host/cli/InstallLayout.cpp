#include "host/cli/InstallLayout.h"

#include <limits.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "host/common/HostError.h"

namespace veltrax::host {
namespace {

bool isFile(const std::string& path) { return ::access(path.c_str(), R_OK) == 0; }

std::string canonical(const std::string& path) {
  char resolved[PATH_MAX];
  return ::realpath(path.c_str(), resolved) ? std::string(resolved) : path;
}

std::string firstExisting(const std::vector<std::string>& candidates, const std::string& what) {
  for (const auto& candidate : candidates)
    if (isFile(candidate)) return canonical(candidate);
  std::string looked;
  for (const auto& candidate : candidates) looked += (looked.empty() ? "" : ", ") + candidate;
  throw HostError("cannot find " + what + " (looked for " + looked + ")");
}

}  // namespace

std::string executableDirectory() {
  char buffer[PATH_MAX];
  const ssize_t length = ::readlink("/proc/self/exe", buffer, sizeof buffer - 1);
  if (length <= 0) return ".";
  std::string path(buffer, static_cast<size_t>(length));
  const auto slash = path.find_last_of('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::string locateModule(const std::string& explicitPath) {
  if (!explicitPath.empty()) return explicitPath;
  if (const char* fromEnvironment = std::getenv("VELTRAX_MODULE");
      fromEnvironment && *fromEnvironment)
    return fromEnvironment;
  const std::string dir = executableDirectory();
  return firstExisting({dir + "/veltrax.so", dir + "/../veltrax.so",
                        dir + "/../" VELTRAX_MODULE_INSTALL_DIR "/veltrax.so"},
                       "the module veltrax.so; give --module PATH or set VELTRAX_MODULE");
}

// Next to the binary in the build tree; in the shared data directory once installed.
std::string locatePlotScript() {
  const std::string dir = executableDirectory();
  return firstExisting({dir + "/veltrax_plots.py", dir + "/../share/veltrax/veltrax_plots.py"},
                       "the plot script");
}

}  // namespace veltrax::host
