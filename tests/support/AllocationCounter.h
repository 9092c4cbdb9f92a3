// Counts heap allocations per thread, for audits of real-time code paths.
//
// Link the `veltrax_allocation_counter` object library into a test
// executable. It replaces malloc, calloc, realloc, free, the aligned forms
// and every operator new/delete for the whole process (shared libraries and
// dlopen'ed plug-ins included); under AddressSanitizer or ThreadSanitizer it
// uses the sanitizer's allocation hooks instead. Counting is per thread and
// only inside a CountAllocations scope, so another thread's allocations never
// show up in an audit of this one.
//
//   {
//     veltrax::test::CountAllocations audit;
//     plugin.run(block);
//     EXPECT_EQ(audit.allocations(), 0u);   // checked after the counted work
//   }
#pragma once

#include <cstddef>
#include <cstdint>

namespace veltrax::test {

struct AllocationCounts {
  uint64_t allocations = 0;    // malloc, calloc, realloc, aligned allocation, operator new
  uint64_t deallocations = 0;  // free / operator delete of a non-null pointer, realloc to 0
  uint64_t bytes = 0;          // bytes requested by the counted allocations
};

// Counts the calling thread's allocations from construction on. Scopes nest;
// each reports what happened on its thread since it was made.
class CountAllocations {
 public:
  CountAllocations();
  ~CountAllocations();
  CountAllocations(const CountAllocations&) = delete;
  CountAllocations& operator=(const CountAllocations&) = delete;

  AllocationCounts counts() const;
  uint64_t allocations() const { return counts().allocations; }

 private:
  AllocationCounts start_;
};

// True if allocations are actually seen (a probe allocation is counted).
// False when something replaces the allocator ahead of this library, e.g.
// valgrind; audits should then skip rather than pass vacuously.
bool allocationCountingWorks();

}  // namespace veltrax::test
