// Temporary files that an interrupt (SIGINT, SIGTERM, SIGHUP) must not leave
// behind: the handler removes every registered file, then lets the signal end
// the process as it would have.
#pragma once

#include <signal.h>

namespace veltrax::host {

// Holds the three signals back on the calling thread while it lives; one
// that arrives meanwhile is handled when it ends. Creating a temporary file
// and registering it thus happen as one step for the handler.
class InterruptsDeferred {
 public:
  InterruptsDeferred();
  ~InterruptsDeferred();
  InterruptsDeferred(const InterruptsDeferred&) = delete;
  InterruptsDeferred& operator=(const InterruptsDeferred&) = delete;

 private:
  sigset_t previous_;
};

// Registers `path` (at most 4 at once; later ones are not covered) and
// returns its slot, or -1.
int registerPendingFile(const char* path);
void unregisterPendingFile(int slot);

}  // namespace veltrax::host
