// Eight double lanes for the fast kernels: one 64-byte vector where the
// processor has 512-bit registers (FAST_CHAIN_LANES == 8), else two 32-byte
// halves. Every operation is lane by lane and exactly the scalar operation,
// so the choice changes speed only. Internal to FastChainKernel.h.
#pragma once

// Every function here has internal linkage and is inlined into the kernel,
// so how a 32- or 64-byte vector would cross a call never matters.
#pragma GCC diagnostic ignored "-Wpsabi"

namespace {

#define FAST_INLINE inline __attribute__((always_inline))

typedef double V4 __attribute__((vector_size(32)));
typedef long long M4 __attribute__((vector_size(32)));

FAST_INLINE V4 splat4(double v) { return V4{v, v, v, v}; }

#if FAST_CHAIN_LANES == 8

typedef double V8 __attribute__((vector_size(64)));
typedef long long M8 __attribute__((vector_size(64)));

FAST_INLINE V8 splat8(double v) { return V8{v, v, v, v, v, v, v, v}; }

struct Mask8 {
  M8 m;
  friend FAST_INLINE Mask8 operator&(Mask8 a, Mask8 b) { return {a.m & b.m}; }
};

struct Lanes8 {
  V8 v;

  static FAST_INLINE Lanes8 of(double a0, double a1, double a2, double a3, double a4, double a5,
                               double a6, double a7) {
    return {V8{a0, a1, a2, a3, a4, a5, a6, a7}};
  }
  static FAST_INLINE Lanes8 splat(double x) { return {V8{x, x, x, x, x, x, x, x}}; }
  static FAST_INLINE Lanes8 load(const double* p) {
    Lanes8 r;
    __builtin_memcpy(&r.v, p, sizeof r.v);
    return r;
  }
  FAST_INLINE void store(double* p) const { __builtin_memcpy(p, &v, sizeof v); }
  FAST_INLINE double operator[](int i) const { return v[i]; }
  FAST_INLINE void set(int i, double x) { v[i] = x; }

  friend FAST_INLINE Lanes8 operator+(Lanes8 a, Lanes8 b) { return {a.v + b.v}; }
  friend FAST_INLINE Lanes8 operator-(Lanes8 a, Lanes8 b) { return {a.v - b.v}; }
  friend FAST_INLINE Lanes8 operator*(Lanes8 a, Lanes8 b) { return {a.v * b.v}; }
  friend FAST_INLINE Mask8 operator>=(Lanes8 a, Lanes8 b) { return {a.v >= b.v}; }
  friend FAST_INLINE Mask8 operator<(Lanes8 a, Lanes8 b) { return {a.v < b.v}; }
  friend FAST_INLINE Mask8 operator<=(Lanes8 a, Lanes8 b) { return {a.v <= b.v}; }
};

FAST_INLINE Lanes8 select(Mask8 m, Lanes8 a, Lanes8 b) { return {m.m ? a.v : b.v}; }

// [first, y0, y1, y2, y3, y4, y5, y6]
FAST_INLINE Lanes8 shiftIn(Lanes8 y, double first) {
  return {__builtin_shufflevector(y.v, Lanes8::splat(first).v, 8, 0, 1, 2, 3, 4, 5, 6)};
}

// [first, y0, y1, y2, fifth, y4, y5, y6]
FAST_INLINE Lanes8 shiftIn(Lanes8 y, double first, double fifth) {
  const V8 fresh = V8{first, first, first, first, fifth, fifth, fifth, fifth};
  return {__builtin_shufflevector(y.v, fresh, 8, 0, 1, 2, 12, 4, 5, 6)};
}

// Coefficient sets where only lanes 4..7 may glide (len is -inf in lanes
// 0..3): c[i] = t <= len ? delta[i]*t + start[i] : after[i], t = pos0 + s.
FAST_INLINE void glideUpperLanes(Lanes8* c, Lanes8 pos0, Lanes8 len, const Lanes8* delta,
                                 const Lanes8* start, const Lanes8* after, double s) {
  const Lanes8 t = pos0 + Lanes8::splat(s);
  const Mask8 gliding = t <= len;
  for (int i = 0; i < 5; ++i) c[i] = select(gliding, delta[i] * t + start[i], after[i]);
}

#else

struct Mask8 {
  M4 lo, hi;
  friend FAST_INLINE Mask8 operator&(Mask8 a, Mask8 b) { return {a.lo & b.lo, a.hi & b.hi}; }
};

struct Lanes8 {
  V4 lo, hi;

  // Copies move the two halves as vectors; left implicit, GCC copies the
  // 64-byte aggregate in 16-byte integer pieces through general registers.
  Lanes8() = default;
  FAST_INLINE Lanes8(V4 l, V4 h) : lo(l), hi(h) {}
  FAST_INLINE Lanes8(const Lanes8& o) : lo(o.lo), hi(o.hi) {}
  FAST_INLINE Lanes8& operator=(const Lanes8& o) {
    lo = o.lo;
    hi = o.hi;
    return *this;
  }

  static FAST_INLINE Lanes8 of(double a0, double a1, double a2, double a3, double a4, double a5,
                               double a6, double a7) {
    return {V4{a0, a1, a2, a3}, V4{a4, a5, a6, a7}};
  }
  static FAST_INLINE Lanes8 splat(double x) { return {splat4(x), splat4(x)}; }
  static FAST_INLINE Lanes8 load(const double* p) {
    Lanes8 r;
    __builtin_memcpy(&r.lo, p, sizeof r.lo);
    __builtin_memcpy(&r.hi, p + 4, sizeof r.hi);
    return r;
  }
  FAST_INLINE void store(double* p) const {
    __builtin_memcpy(p, &lo, sizeof lo);
    __builtin_memcpy(p + 4, &hi, sizeof hi);
  }
  FAST_INLINE double operator[](int i) const { return i < 4 ? lo[i] : hi[i - 4]; }
  FAST_INLINE void set(int i, double x) {
    if (i < 4)
      lo[i] = x;
    else
      hi[i - 4] = x;
  }

  friend FAST_INLINE Lanes8 operator+(Lanes8 a, Lanes8 b) { return {a.lo + b.lo, a.hi + b.hi}; }
  friend FAST_INLINE Lanes8 operator-(Lanes8 a, Lanes8 b) { return {a.lo - b.lo, a.hi - b.hi}; }
  friend FAST_INLINE Lanes8 operator*(Lanes8 a, Lanes8 b) { return {a.lo * b.lo, a.hi * b.hi}; }
  friend FAST_INLINE Mask8 operator>=(Lanes8 a, Lanes8 b) { return {a.lo >= b.lo, a.hi >= b.hi}; }
  friend FAST_INLINE Mask8 operator<(Lanes8 a, Lanes8 b) { return {a.lo < b.lo, a.hi < b.hi}; }
  friend FAST_INLINE Mask8 operator<=(Lanes8 a, Lanes8 b) { return {a.lo <= b.lo, a.hi <= b.hi}; }
};

FAST_INLINE Lanes8 select(Mask8 m, Lanes8 a, Lanes8 b) {
  return {m.lo ? a.lo : b.lo, m.hi ? a.hi : b.hi};
}

// [first, y0, y1, y2, y3, y4, y5, y6]
FAST_INLINE Lanes8 shiftIn(Lanes8 y, double first) {
  return {__builtin_shufflevector(y.lo, splat4(first), 4, 0, 1, 2),
          __builtin_shufflevector(y.hi, y.lo, 7, 0, 1, 2)};
}

// [first, y0, y1, y2, fifth, y4, y5, y6]
FAST_INLINE Lanes8 shiftIn(Lanes8 y, double first, double fifth) {
  return {__builtin_shufflevector(y.lo, splat4(first), 4, 0, 1, 2),
          __builtin_shufflevector(y.hi, splat4(fifth), 4, 0, 1, 2)};
}

// Coefficient sets where only lanes 4..7 may glide (len is -inf in lanes
// 0..3): c[i] = t <= len ? delta[i]*t + start[i] : after[i], t = pos0 + s.
// Only the upper half is worked out.
FAST_INLINE void glideUpperLanes(Lanes8* c, Lanes8 pos0, Lanes8 len, const Lanes8* delta,
                                 const Lanes8* start, const Lanes8* after, double s) {
  const V4 t = pos0.hi + splat4(s);
  const M4 gliding = t <= len.hi;
  for (int i = 0; i < 5; ++i)
    c[i] = Lanes8(after[i].lo, gliding ? delta[i].hi * t + start[i].hi : after[i].hi);
}

#endif

}  // namespace
