#include "dsp/OversamplingFilter.h"

#include <cmath>

const OversamplingCoefficients& oversamplingCoefficientsFor(double sampleRate) {
  // trunc() instead of an integer cast: defined for every rate, NaN included.
  return std::trunc(sampleRate) == 48000.0 ? kOversampling48000 : kOversampling44100;
}
