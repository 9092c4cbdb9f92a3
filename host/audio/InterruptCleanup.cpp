#include "host/audio/InterruptCleanup.h"

#include <limits.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <mutex>

namespace veltrax::host {
namespace {

constexpr int kSlots = 4;
constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

// Written by the main program, read by the handler: a slot's path is
// complete before `used` turns true (release/acquire), and lock-free atomics
// are safe to read in a signal handler.
char paths[kSlots][PATH_MAX];
std::atomic<bool> used[kSlots];

void removePendingFiles(int signal) {
  for (int slot = 0; slot < kSlots; ++slot)
    if (used[slot].load(std::memory_order_acquire)) ::unlink(paths[slot]);
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

void installHandlers() {
  for (int signal : kSignals) {
    struct sigaction current {};
    ::sigaction(signal, nullptr, &current);
    if (current.sa_handler == SIG_IGN) continue;  // e.g. nohup: keep ignoring
    struct sigaction action {};
    action.sa_handler = removePendingFiles;
    sigemptyset(&action.sa_mask);
    ::sigaction(signal, &action, nullptr);
  }
}

std::mutex registryLock;

}  // namespace

InterruptsDeferred::InterruptsDeferred() {
  sigset_t held;
  sigemptyset(&held);
  for (int signal : kSignals) sigaddset(&held, signal);
  pthread_sigmask(SIG_BLOCK, &held, &previous_);
}

InterruptsDeferred::~InterruptsDeferred() { pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }

int registerPendingFile(const char* path) {
  static std::once_flag installed;
  std::call_once(installed, installHandlers);
  if (std::strlen(path) >= PATH_MAX) return -1;
  std::lock_guard<std::mutex> lock(registryLock);
  for (int slot = 0; slot < kSlots; ++slot) {
    if (used[slot].load(std::memory_order_relaxed)) continue;
    std::strcpy(paths[slot], path);
    used[slot].store(true, std::memory_order_release);
    return slot;
  }
  return -1;
}

void unregisterPendingFile(int slot) {
  if (slot < 0) return;
  std::lock_guard<std::mutex> lock(registryLock);
  used[slot].store(false, std::memory_order_release);
}

}  // namespace veltrax::host
