#include "dsp/KnobTaper.h"

#include <math.h>

#include <cmath>

namespace {

// The shape f of a taper for knob value x (range already flipped).
float taperShape(const KnobTaper& t, float x) {
  switch (t.taperType) {
    case kPowerTaper: {  // power: difference in single, pow and multiply-add in double
      const float d = x - t.center;
      const double f = static_cast<double>(t.offset) +
                       static_cast<double>(t.scale) *
                           std::pow(static_cast<double>(d), static_cast<double>(t.exponent));
      return static_cast<float>(f);
    }
    case kSqrt2PowerTaper:  // x^sqrt2 in single precision
      return ::powf(x, 1.41421354f);
    case kArctangentTaper: {  // arctangent S-curve through 0 and 1
      const float arg = ((x - t.center) * 2.0f) * t.scale;
      const float den = ::atanf(t.scale) + ::atanf(t.scale);
      const double numer =
          std::atan(static_cast<double>(arg)) + static_cast<double>(::atanf(t.scale));
      return static_cast<float>(numer / static_cast<double>(den));
    }
    case kPolynomialTaper: {  // polynomial, highest power first; from the constant term upward
      const int m = t.coefCount;
      if (m < 1) return 0.0f;  // the empty polynomial
      float sum = t.coefs[m - 1];
      float power = 1.0f;
      for (int i = m - 2; i >= 0; --i) {
        power = power * x;
        sum = sum + t.coefs[i] * power;
      }
      return sum;
    }
    default:
      return x;
  }
}

}  // namespace

double evaluateTaper(const KnobTaper& taper, float x) {
  const bool rising = taper.rangeEnd >= taper.rangeStart;
  if (taper.rangeEnd < taper.rangeStart) x = 1.0f - x;
  const float f = taperShape(taper, x);
  const float low = static_cast<float>(rising ? taper.rangeStart : taper.rangeEnd);
  const float span = static_cast<float>(rising ? taper.rangeEnd - taper.rangeStart
                                               : taper.rangeStart - taper.rangeEnd);
  const float r = low + f * span;
  return static_cast<double>(r);
}
