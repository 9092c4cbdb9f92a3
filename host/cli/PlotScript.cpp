#include "host/cli/PlotScript.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "host/cli/InstallLayout.h"
#include "host/common/HostError.h"

extern char** environ;

namespace veltrax::host {

void runPlotScript(const std::string& directory) {
  const std::string script = locatePlotScript();
  const std::string python = VELTRAX_PYTHON;
  std::vector<std::string> arguments{python, script, directory};
  std::vector<char*> argv;
  for (auto& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  pid_t child = 0;
  const int error = ::posix_spawn(&child, python.c_str(), nullptr, nullptr, argv.data(), environ);
  if (error != 0) throw HostError("cannot run " + python + ": " + std::strerror(error));
  int status = 0;
  while (::waitpid(child, &status, 0) < 0)
    if (errno != EINTR)
      throw HostError("lost the plot script: " + std::string(std::strerror(errno)));
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
    throw HostError("the plot script " + script + " failed");
}

}  // namespace veltrax::host
