// Scoped flush-to-zero for the processing thread: results that would be
// denormal become zero while a block runs (decaying filter tails stay out of
// slow denormal arithmetic). Denormal operands are not treated as zero. The
// previous control state is restored when the scope ends.
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

#else
// Other processors: the arithmetic is identical for normal numbers; denormal
// results are kept. (A user-provided constructor keeps a scope variable from
// reading as unused.)
class FlushToZeroScope {
 public:
  FlushToZeroScope() {}
};
#endif
