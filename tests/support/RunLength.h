// Long-running tests (soak, thread stress) run their full length in plain
// builds and a shortened one under a sanitizer, valgrind or an emulator
// (cross builds run under qemu), whose slowdown (5x to 50x) would otherwise
// blow the CI budget.
#pragma once

#include <valgrind/valgrind.h>

#include <cstdint>

namespace testhost {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(VELTRAX_EMULATED_TESTS)
constexpr bool kSanitizedBuild = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kSanitizedBuild = true;
#else
constexpr bool kSanitizedBuild = false;
#endif
#else
constexpr bool kSanitizedBuild = false;
#endif

inline bool runningUnderValgrind() { return RUNNING_ON_VALGRIND != 0; }

// `full` in a plain build, `shortened` under a sanitizer, valgrind or an emulator.
inline int64_t runLength(int64_t full, int64_t shortened) {
  return kSanitizedBuild || runningUnderValgrind() ? shortened : full;
}

}  // namespace testhost
