// A loaded plug-in module (a shared object opened with dlopen). Instances
// keep a shared pointer to it, so the code stays mapped while any of them
// lives.
#pragma once

#include <memory>
#include <string>

namespace veltrax::host {

class ModuleLibrary {
 public:
  // Opens the shared object at `path`; throws HostError with the loader's
  // reason when it cannot be loaded.
  static std::shared_ptr<ModuleLibrary> open(const std::string& path);

  ~ModuleLibrary();
  ModuleLibrary(const ModuleLibrary&) = delete;
  ModuleLibrary& operator=(const ModuleLibrary&) = delete;

  // Address of an exported symbol, or nullptr if the module does not export it.
  void* symbol(const char* name) const;

  const std::string& path() const { return path_; }

 private:
  ModuleLibrary(void* handle, std::string path) : handle_(handle), path_(std::move(path)) {}
  void* handle_;
  std::string path_;
};

}  // namespace veltrax::host
