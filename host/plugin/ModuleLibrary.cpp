#include "host/plugin/ModuleLibrary.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "host/common/HostError.h"

namespace veltrax::host {

std::shared_ptr<ModuleLibrary> ModuleLibrary::open(const std::string& path) {
  // dlopen searches the library path for names without a slash; a module is
  // always given as a file, so make the name a path.
  const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
  struct stat st {};
  if (::stat(file.c_str(), &st) != 0)
    throw HostError("cannot load module " + path + ": " + std::strerror(errno));
  if (!S_ISREG(st.st_mode)) throw HostError("cannot load module " + path + ": not a regular file");
  ::dlerror();
  void* handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    const char* reason = ::dlerror();
    throw HostError("cannot load module " + path + ": " +
                    (reason ? reason : "unknown loader error"));
  }
  return std::shared_ptr<ModuleLibrary>(new ModuleLibrary(handle, path));
}

ModuleLibrary::~ModuleLibrary() { ::dlclose(handle_); }

void* ModuleLibrary::symbol(const char* name) const {
  ::dlerror();
  return ::dlsym(handle_, name);
}

}  // namespace veltrax::host
