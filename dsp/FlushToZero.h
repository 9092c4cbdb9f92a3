// Scoped flush-to-zero for the processing thread: results that would be
// denormal become zero while a block runs (decaying filter tails stay out of
// slow denormal arithmetic). The previous control state is restored when the
// scope ends.
//
// x86 (MXCSR.FZ): denormal results become zero; denormal operands are still
// used as they are (DAZ stays off).
// aarch64 (FPCR.FZ): denormal results become zero and denormal operands are
// also read as zero. The two differ only where a denormal reaches an
// operation, i.e. for signals around 1e-308 and below; every normal-level
// sample gives the same bits on both.
// Other targets (wasm32, ...): no control register; the arithmetic keeps
// denormals, which only costs time, never changes a normal-level result.
#pragma once

#if defined(__SSE__) || defined(__x86_64__)
#include <xmmintrin.h>

class FlushToZeroScope {
 public:
  FlushToZeroScope() : saved_(_mm_getcsr()) { _mm_setcsr(saved_ | kFlushToZero); }
  ~FlushToZeroScope() { _mm_setcsr(saved_); }
  FlushToZeroScope(const FlushToZeroScope&) = delete;
  FlushToZeroScope& operator=(const FlushToZeroScope&) = delete;

 private:
  static constexpr unsigned kFlushToZero = 0x8000;  // MXCSR FZ bit
  unsigned saved_;
};

#elif defined(__aarch64__)
#include <cstdint>

class FlushToZeroScope {
 public:
  FlushToZeroScope() : saved_(readFpcr()) { writeFpcr(saved_ | kFlushToZero); }
  ~FlushToZeroScope() { writeFpcr(saved_); }
  FlushToZeroScope(const FlushToZeroScope&) = delete;
  FlushToZeroScope& operator=(const FlushToZeroScope&) = delete;

 private:
  static constexpr uint64_t kFlushToZero = uint64_t{1} << 24;  // FPCR FZ bit
  static uint64_t readFpcr() {
    uint64_t value;
    __asm__ __volatile__("mrs %0, fpcr" : "=r"(value));
    return value;
  }
  static void writeFpcr(uint64_t value) { __asm__ __volatile__("msr fpcr, %0" : : "r"(value)); }
  uint64_t saved_;
};

#else
class FlushToZeroScope {
 public:
  FlushToZeroScope() {}  // user-provided: a scope object is never "unused"
  ~FlushToZeroScope() {}
  FlushToZeroScope(const FlushToZeroScope&) = delete;
  FlushToZeroScope& operator=(const FlushToZeroScope&) = delete;
};
#endif
