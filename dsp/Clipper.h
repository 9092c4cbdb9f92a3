// The saturating curve of the clipping section: tanh over -16 .. +16 in
// 40001 steps of 0.0008, read with linear interpolation.
#pragma once

#include <cstddef>

// A plain aggregate so that a static instance is zero-initialised (reads 0.0
// everywhere) until its first build, with nothing to run at load time.
class Clipper {
 public:
  static constexpr int kTableSize = 40001;
  static constexpr int kHalfWidth = 20000;  // index of the centre entry

  double clipScale;              // steps per unit of input, 20000.0 once built
  double clipTable[kTableSize];  // clipTable[j] = tanh(0.0008 * (j - 20000))
  double clipLimit;              // tanh(16): right-hand neighbour of the top entry

  // Composes the complete table in a heap temporary and copies it over this
  // object in one block (every build writes identical values). May throw
  // std::bad_alloc; the object is unchanged then.
  void build();

  // tanh(16*h) by interpolation, for h already clamped to [-1, 1]:
  // pos = clipScale + h*clipScale, j = (int)pos,
  // (E[j+1] - E[j])*(pos - j) + E[j] with E[40001] = clipLimit.
  inline double lookup(double h) const;

  // The table and its limit as one run of entries E[0 .. 2*clipScale + 1],
  // as the fast kernels read them.
  inline const double* entries() const;
};

inline const double* Clipper::entries() const {
  static_assert(offsetof(Clipper, clipLimit) == offsetof(Clipper, clipTable) + sizeof(clipTable),
                "the limit follows the table");
  return reinterpret_cast<const double*>(reinterpret_cast<const char*>(this) +
                                         offsetof(Clipper, clipTable));
}

inline double Clipper::lookup(double h) const {
  const double pos = clipScale + h * clipScale;
  const int j = static_cast<int>(pos);
  const double lower = clipTable[j];
  const double upper = j + 1 < kTableSize ? clipTable[j + 1] : clipLimit;
  return (upper - lower) * (pos - j) + lower;
}
