#include "host/audio/StandardStreams.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "host/audio/InterruptCleanup.h"
#include "host/common/HostError.h"

namespace veltrax::host {
namespace {

[[noreturn]] void fail(const std::string& what, int error) {
  throw HostError(what + ": " + std::strerror(error));
}

// Copies `from` to its end into `to`; false (errno set) on a failure.
bool copyAll(int from, int to) {
  std::vector<char> buffer(1 << 16);
  for (;;) {
    const ssize_t got = ::read(from, buffer.data(), buffer.size());
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) return true;
    for (ssize_t done = 0; done < got;) {
      const ssize_t put = ::write(to, buffer.data() + done, static_cast<size_t>(got - done));
      if (put < 0 && errno == EINTR) continue;
      if (put < 0) return false;
      done += put;
    }
  }
}

}  // namespace

TemporaryFile::TemporaryFile() {
  const char* directory = std::getenv("TMPDIR");
  std::string pattern =
      std::string(directory && *directory ? directory : "/tmp") + "/veltrax-stream.XXXXXX";
  // An interrupt between creating and registering would leave the file.
  InterruptsDeferred deferred;
  fd_ = ::mkstemp(pattern.data());
  if (fd_ < 0) fail("cannot create a temporary file for a standard stream", errno);
  path_ = pattern;
  pendingSlot_ = registerPendingFile(path_.c_str());
}

TemporaryFile::~TemporaryFile() {
  ::close(fd_);
  ::unlink(path_.c_str());
  unregisterPendingFile(pendingSlot_);
}

SpooledInput::SpooledInput() {
  if (::isatty(STDIN_FILENO))
    throw HostError("input is standard input, but nothing is piped in (a terminal)");
  if (!copyAll(STDIN_FILENO, file_.fd())) fail("cannot read standard input", errno);
  if (::lseek(file_.fd(), 0, SEEK_END) == 0) throw HostError("standard input is empty");
}

void BufferedOutput::commit() {
  ::signal(SIGPIPE, SIG_IGN);  // a closed pipe: an error message, not a silent death
  if (::lseek(file_.fd(), 0, SEEK_SET) != 0 || !copyAll(file_.fd(), STDOUT_FILENO))
    fail("cannot write standard output", errno);
}

}  // namespace veltrax::host
