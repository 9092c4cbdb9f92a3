#include "host/audio/SafeOutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

#include "host/audio/InterruptCleanup.h"
#include "host/common/HostError.h"

namespace veltrax::host {
namespace {

std::string directoryOf(const std::string& path) {
  const auto slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

std::string baseName(const std::string& path) {
  const auto slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

[[noreturn]] void fail(const std::string& what, const std::string& path, int error) {
  throw HostError(what + " " + path + ": " + std::strerror(error));
}

}  // namespace

void checkOutputTarget(const std::string& target, const std::string& input, bool force) {
  struct stat out {};
  if (::stat(target.c_str(), &out) == 0) {
    if (S_ISDIR(out.st_mode)) throw HostError("output " + target + " is a directory");
    struct stat in {};
    if (!input.empty() && ::stat(input.c_str(), &in) == 0 && in.st_dev == out.st_dev &&
        in.st_ino == out.st_ino)
      throw HostError("output " + target + " is the input file; choose another name");
    if (!force) throw HostError("output " + target + " exists (use --force to replace it)");
    return;
  }
  struct stat link {};
  if (::lstat(target.c_str(), &link) == 0 && !force)
    throw HostError("output " + target + " exists as a dangling link (use --force to replace it)");
  const std::string directory = directoryOf(target);
  struct stat dir {};
  if (::stat(directory.c_str(), &dir) != 0) fail("cannot write to directory", directory, errno);
  if (!S_ISDIR(dir.st_mode)) throw HostError("cannot write to " + directory + ": not a directory");
}

void createDirectories(const std::string& directory) {
  std::error_code error;
  std::filesystem::create_directories(directory, error);
  if (error) throw HostError("cannot create directory " + directory + ": " + error.message());
}

SafeOutputFile::SafeOutputFile(const std::string& target) : target_(target) {
  const std::string directory = directoryOf(target);
  std::string pattern = directory + "/." + baseName(target) + ".XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  {
    // An interrupt between creating and registering would leave the file.
    InterruptsDeferred deferred;
    fd_ = ::mkstemp(name.data());
    if (fd_ < 0) fail("cannot create a file in", directory, errno);
    temporary_ = name.data();
    pendingSlot_ = registerPendingFile(temporary_.c_str());
  }
  // mkstemp makes the file private; give it the mode a new file would get.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  ::fchmod(fd_, 0666 & ~mask);
}

SafeOutputFile::~SafeOutputFile() {
  if (fd_ >= 0) ::close(fd_);
  if (!committed_) ::unlink(temporary_.c_str());
  unregisterPendingFile(pendingSlot_);
}

void SafeOutputFile::commit() {
  if (::fsync(fd_) != 0) fail("cannot write", target_, errno);
  const int fd = fd_;
  fd_ = -1;
  if (::close(fd) != 0) fail("cannot write", target_, errno);
  if (::rename(temporary_.c_str(), target_.c_str()) != 0) fail("cannot replace", target_, errno);
  committed_ = true;
  unregisterPendingFile(pendingSlot_);
  pendingSlot_ = -1;
  // Make the rename itself durable.
  const int dir = ::open(directoryOf(target_).c_str(), O_RDONLY | O_DIRECTORY);
  if (dir >= 0) {
    ::fsync(dir);
    ::close(dir);
  }
}

}  // namespace veltrax::host
