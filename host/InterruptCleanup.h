// Temporary files that an interrupt (SIGINT, SIGTERM, SIGHUP) must not leave
// behind: the handler removes every registered file, then lets the signal end
// the process as it would have.
#pragma once

namespace veltrax::host {

// Registers `path` (at most 4 at once; later ones are not covered) and
// returns its slot, or -1.
int registerPendingFile(const char* path);
void unregisterPendingFile(int slot);

}  // namespace veltrax::host
