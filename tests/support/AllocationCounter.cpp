#include "support/AllocationCounter.h"

#include <cerrno>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VELTRAX_COUNT_THROUGH_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VELTRAX_COUNT_THROUGH_SANITIZER 1
#endif
#endif

namespace veltrax::test {
namespace {

// Per-thread tallies. initial-exec TLS: reaching it never allocates, which
// matters because it is touched from inside malloc.
struct ThreadTally {
  AllocationCounts total;  // counted while active
  int scopes = 0;          // live CountAllocations on this thread
};
__attribute__((tls_model("initial-exec"))) thread_local ThreadTally tally;

inline bool counting() { return tally.scopes > 0; }

inline void noteAllocation(size_t bytes) {
  if (!counting()) return;
  ++tally.total.allocations;
  tally.total.bytes += bytes;
}

inline void noteDeallocation() {
  if (counting()) ++tally.total.deallocations;
}

}  // namespace

CountAllocations::CountAllocations() : start_(tally.total) { ++tally.scopes; }

CountAllocations::~CountAllocations() { --tally.scopes; }

AllocationCounts CountAllocations::counts() const {
  const AllocationCounts& now = tally.total;
  return {now.allocations - start_.allocations, now.deallocations - start_.deallocations,
          now.bytes - start_.bytes};
}

bool allocationCountingWorks() {
  // Through a volatile pointer, so that the compiler cannot drop the pair.
  void* (*volatile allocate)(size_t) = &std::malloc;
  CountAllocations probe;
  void* p = allocate(24);
  const uint64_t seen = probe.allocations();
  std::free(p);
  return seen == 1;
}

}  // namespace veltrax::test

#if defined(VELTRAX_COUNT_THROUGH_SANITIZER)

// The sanitizer owns malloc and operator new; its hooks see every one of them.
// (Declared here: GCC does not ship the sanitizer's allocator header.)
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*mallocHook)(const volatile void*,
                                                                            size_t),
                                                         void (*freeHook)(const volatile void*));

namespace {
void mallocHook(const volatile void*, size_t bytes) { veltrax::test::noteAllocation(bytes); }
void freeHook(const volatile void*) { veltrax::test::noteDeallocation(); }
[[maybe_unused]] const int installed =
    __sanitizer_install_malloc_and_free_hooks(mallocHook, freeHook);
}  // namespace

#else

// Replacements of the C allocation functions, forwarding to glibc's own
// implementation. They must be visible to the dynamic linker so that every
// library in the process (libstdc++, dlopen'ed plug-ins) binds to them.
#define VELTRAX_INTERPOSE extern "C" __attribute__((visibility("default"), used))

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);
}

using veltrax::test::noteAllocation;
using veltrax::test::noteDeallocation;

VELTRAX_INTERPOSE void* malloc(size_t bytes) {
  noteAllocation(bytes);
  return __libc_malloc(bytes);
}

VELTRAX_INTERPOSE void* calloc(size_t count, size_t size) {
  noteAllocation(count * size);
  return __libc_calloc(count, size);
}

// Any realloc on an audited path is a finding, whether it moves or not.
VELTRAX_INTERPOSE void* realloc(void* pointer, size_t bytes) {
  if (pointer != nullptr && bytes == 0)
    noteDeallocation();
  else
    noteAllocation(bytes);
  return __libc_realloc(pointer, bytes);
}

VELTRAX_INTERPOSE void free(void* pointer) {
  if (pointer != nullptr) noteDeallocation();
  __libc_free(pointer);
}

VELTRAX_INTERPOSE void* memalign(size_t alignment, size_t bytes) {
  noteAllocation(bytes);
  return __libc_memalign(alignment, bytes);
}

VELTRAX_INTERPOSE void* aligned_alloc(size_t alignment, size_t bytes) {
  noteAllocation(bytes);
  return __libc_memalign(alignment, bytes);
}

VELTRAX_INTERPOSE int posix_memalign(void** result, size_t alignment, size_t bytes) {
  if (alignment < sizeof(void*) || (alignment & (alignment - 1)) != 0) return EINVAL;
  noteAllocation(bytes);
  void* p = __libc_memalign(alignment, bytes);
  if (p == nullptr && bytes != 0) return ENOMEM;
  *result = p;
  return 0;
}

VELTRAX_INTERPOSE void* valloc(size_t bytes) {
  noteAllocation(bytes);
  return __libc_memalign(4096, bytes);
}

// operator new/delete: allocate through the C functions above (counted once
// there), with the C++ failure rules; alignment 0 is the default alignment.
namespace {
void* newOrThrow(size_t bytes, size_t alignment = 0) {
  for (;;) {
    if (bytes == 0) bytes = 1;
    if (void* p = alignment == 0
                      ? malloc(bytes)
                      : memalign(alignment < sizeof(void*) ? sizeof(void*) : alignment, bytes))
      return p;
    std::new_handler handler = std::get_new_handler();
    if (handler == nullptr) throw std::bad_alloc();
    handler();
  }
}
void* newOrNull(size_t bytes, size_t alignment = 0) noexcept {
  try {
    return newOrThrow(bytes, alignment);
  } catch (...) {
    return nullptr;
  }
}
size_t size(std::align_val_t alignment) { return static_cast<size_t>(alignment); }
}  // namespace

#define VELTRAX_NEW __attribute__((visibility("default")))
VELTRAX_NEW void* operator new(size_t n) { return newOrThrow(n); }
VELTRAX_NEW void* operator new[](size_t n) { return newOrThrow(n); }
VELTRAX_NEW void* operator new(size_t n, const std::nothrow_t&) noexcept { return newOrNull(n); }
VELTRAX_NEW void* operator new[](size_t n, const std::nothrow_t&) noexcept { return newOrNull(n); }
VELTRAX_NEW void* operator new(size_t n, std::align_val_t a) { return newOrThrow(n, size(a)); }
VELTRAX_NEW void* operator new[](size_t n, std::align_val_t a) { return newOrThrow(n, size(a)); }
VELTRAX_NEW void* operator new(size_t n, std::align_val_t a, const std::nothrow_t&) noexcept {
  return newOrNull(n, size(a));
}
VELTRAX_NEW void* operator new[](size_t n, std::align_val_t a, const std::nothrow_t&) noexcept {
  return newOrNull(n, size(a));
}
VELTRAX_NEW void operator delete(void* p) noexcept { free(p); }
VELTRAX_NEW void operator delete[](void* p) noexcept { free(p); }
VELTRAX_NEW void operator delete(void* p, size_t) noexcept { free(p); }
VELTRAX_NEW void operator delete[](void* p, size_t) noexcept { free(p); }
VELTRAX_NEW void operator delete(void* p, const std::nothrow_t&) noexcept { free(p); }
VELTRAX_NEW void operator delete[](void* p, const std::nothrow_t&) noexcept { free(p); }
VELTRAX_NEW void operator delete(void* p, std::align_val_t) noexcept { free(p); }
VELTRAX_NEW void operator delete[](void* p, std::align_val_t) noexcept { free(p); }
VELTRAX_NEW void operator delete(void* p, size_t, std::align_val_t) noexcept { free(p); }
VELTRAX_NEW void operator delete[](void* p, size_t, std::align_val_t) noexcept { free(p); }
VELTRAX_NEW void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept {
  free(p);
}
VELTRAX_NEW void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept {
  free(p);
}

#endif
