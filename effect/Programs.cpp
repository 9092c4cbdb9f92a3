// The sixteen programs: switching, names. Programs live in memory only.
#include <cstdio>
#include <cstring>

#include "effect/VELTRAX.h"

namespace {
bool isProgram(long index) { return index >= 0 && index < VELTRAX::kNumPrograms; }
}  // namespace

void VELTRAX::setProgram(long index) {
  if (!isProgram(index)) return;
  curProgram.store(static_cast<int32_t>(index), std::memory_order_relaxed);
  // One locked store per parameter; the program value is read under the
  // same (recursive) lock, so a concurrent setParameter cannot tear it.
  for (int32_t i = 0; i < kNumParams; ++i) {
    paramLock.lock();
    setParameter(i, programs[index].values[i]);
    paramLock.unlock();
  }
}

// Default names are numbered from 1 ("Init 1" .. "Init 16"); others show as stored.
void VELTRAX::getProgramName(char* name) {
  const int32_t program = curProgram.load(std::memory_order_relaxed);
  if (!name) return;
  if (!isProgram(program)) {
    name[0] = 0;
    return;
  }
  const char* stored = programs[program].name;
  if (std::strcmp(stored, "Init") == 0)  // "%s %d" of the stored name and program + 1
    std::snprintf(name, VELTRAXProgram::kNameSize, "Init %d", static_cast<int>(program + 1));
  else
    std::strcpy(name, stored);
}

// Keeps at most 23 characters and always terminates.
void VELTRAX::setProgramName(char* name) {
  const int32_t program = curProgram.load(std::memory_order_relaxed);
  if (!name || !isProgram(program)) return;
  char* stored = programs[program].name;
  std::strncpy(stored, name, VELTRAXProgram::kNameSize - 1);
  stored[VELTRAXProgram::kNameSize - 1] = 0;
}

bool VELTRAX::getProgramNameIndexed(int32_t, int32_t index, char* text) {
  if (!text || !isProgram(index)) return false;
  std::strcpy(text, programs[index].name);
  return true;
}
