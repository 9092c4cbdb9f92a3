// Running out of memory: a sample-rate rebuild or a per-block buffer that
// cannot be had never crashes, never lets an exception reach the host, keeps
// no pointer to freed memory, and leaves an instance that passes audio
// through until memory is back.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <vector>

#include "effect/VELTRAX.h"

namespace {

// Allocations left before every further one fails; negative: never fail.
std::atomic<long> allocationsLeft{-1};
std::atomic<long> allocationsDenied{0};
// Larger requests fail as well (bytes).
std::atomic<std::size_t> largestAllocation{SIZE_MAX};

bool exhausted(std::size_t size) {
  if (size > largestAllocation.load()) {
    ++allocationsDenied;
    return true;
  }
  long left = allocationsLeft.load();
  while (left > 0 && !allocationsLeft.compare_exchange_weak(left, left - 1)) {
  }
  if (left != 0) return false;
  ++allocationsDenied;
  return true;
}

struct MemoryLimit {
  explicit MemoryLimit(long allocations, std::size_t largest = SIZE_MAX) {
    allocationsDenied = 0;
    allocationsLeft = allocations;
    largestAllocation = largest;
  }
  ~MemoryLimit() {
    allocationsLeft = -1;
    largestAllocation = SIZE_MAX;
  }
};

}  // namespace

// The replacement pairs malloc with free throughout; GCC cannot see that
// operator new and operator delete below are that pair.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

void* operator new(std::size_t size) {
  void* p = exhausted(size) ? nullptr : std::malloc(size ? size : 1);
  if (!p) throw std::bad_alloc();
  return p;
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return exhausted(size) ? nullptr : std::malloc(size ? size : 1);
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

namespace {

std::vector<double> ramp(int n, double scale) {
  std::vector<double> x(n);
  for (int i = 0; i < n; ++i) x[i] = scale * ((i * 37) % 101 - 50) / 50.0;
  return x;
}

void processInto(VELTRAX& fx, const std::vector<double>& in, std::vector<double>& out) {
  double* i = const_cast<double*>(in.data());
  double* o = out.data();
  AEffect* record = fx.getAeffect();
  record->processDoubleReplacing(record, &i, &o, static_cast<int32_t>(in.size()));
}

std::vector<double> process(VELTRAX& fx, const std::vector<double>& in) {
  std::vector<double> out(in.size(), 42.0);
  processInto(fx, in, out);
  return out;
}

void setRate(VELTRAX& fx, float rate) {
  AEffect* record = fx.getAeffect();
  record->dispatcher(record, effSetSampleRate, 0, 0, nullptr, rate);  // must not throw
}

// Fails the rebuild at its first, second, ... allocation until one succeeds.
TEST(OutOfMemory, FailedRebuildPassesAudioThroughAndBuildsAgainLater) {
  const auto block = ramp(256, 0.3);
  bool rebuiltUnderLimit = false;
  long limit = 0;
  for (; !rebuiltUnderLimit; ++limit) {
    ASSERT_LT(limit, 500) << "the rebuild never completed";
    VELTRAX fx(nullptr);
    setRate(fx, 44100.0f);
    process(fx, block);
    {
      MemoryLimit memory(limit);
      setRate(fx, 48000.0f);
      rebuiltUnderLimit = allocationsDenied.load() == 0;
    }
    if (!rebuiltUnderLimit) {
      EXPECT_EQ(process(fx, block), block) << "limit " << limit;
      setRate(fx, 48000.0f);
    }
    VELTRAX fresh(nullptr);
    setRate(fresh, 48000.0f);
    process(fresh, block);
    process(fx, block);
    EXPECT_EQ(process(fx, block), process(fresh, block)) << "limit " << limit;
  }
  EXPECT_GT(limit, 20) << "every allocation of the rebuild should have failed once";
}

// The highest rate below 2^31 Hz needs two fades of 34 million gains
// (0.55 GB): where that cannot be had, the instance passes audio through
// until a usable rate arrives.
TEST(OutOfMemory, RateTooLargeForMemoryPassesThroughUntilAUsableRate) {
  const auto block = ramp(256, 0.3);
  VELTRAX fx(nullptr), fresh(nullptr);
  setRate(fx, 44100.0f);
  process(fx, block);
  {
    MemoryLimit memory(-1, 64u << 20);
    setRate(fx, 2147483520.0f);
    ASSERT_GT(allocationsDenied.load(), 0);
  }
  EXPECT_EQ(process(fx, block), block);
  setRate(fx, 48000.0f);
  setRate(fresh, 48000.0f);
  EXPECT_EQ(process(fx, block), process(fresh, block));
}

TEST(OutOfMemory, BlockWithoutBuffersPassesThroughAndKeepsKnobChangesPending) {
  VELTRAX fx(nullptr), reference(nullptr);
  for (VELTRAX* e : {&fx, &reference}) {
    setRate(*e, 44100.0f);
    process(*e, ramp(64, 0.2));
    e->setParameter(VELTRAX::kTone, 0.9f);
  }
  const auto longer = ramp(512, 0.4);
  std::vector<double> out(longer.size(), 42.0);
  {
    MemoryLimit memory(0);
    processInto(fx, longer, out);
  }
  EXPECT_EQ(out, longer);
  EXPECT_EQ(process(fx, longer), process(reference, longer));
}

}  // namespace
