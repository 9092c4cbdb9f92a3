#include "dsp/FilterDesign.h"

#include <cmath>

#include "dsp/IIRFilter.h"

namespace {

constexpr double kSqrt2 = 1.4142135623730951;

// Half power as a squared magnitude, 10^(-3/10).
constexpr double kHalfPower = 0.5011872337;

// Second-order section from (b0, b1, b2, a1, a2) and the normaliser D.
SectionCoefficients secondOrder(double D, double b0, double b1, double b2, double a1, double a2) {
  return {{-(a1 / D), -(a2 / D), b0 / D, b1 / D, b2 / D}, 1};
}

// First-order section: a2 and b2 are zero.
SectionCoefficients firstOrder(double D, double b0, double b1, double a1) {
  return {{-(a1 / D), 0.0, b0 / D, b1 / D, 0.0}, 1};
}

// One-pole low-pass whose squared magnitude is one half at frq:
// y[n] = (1-p) x[n] + p y[n-1].
SectionCoefficients onePole(double frq, double sampleRate, double pi) {
  const double w = std::cos((pi * 2.0) * frq / sampleRate);
  const double g = kHalfPower;
  const double p = (g * w - 1.0 + std::sqrt((w - 1.0) * g * (g * w - 2.0 + g))) / (g - 1.0);
  return {{1.0 - p, 0.0, p, 0.0, 0.0}, 0};
}

}  // namespace

int16_t sectionTypeCode(int32_t num) {
  return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint32_t>(num) & 0xFFFFu));
}

void sanitizeDesignRecord(filterPrm_tag& prm) {
  if (!(prm.q > 0.0)) prm.q = 1.0;
  double frq = prm.frq > 0.0 ? prm.frq : 20.0;
  const double nyquist = 0.5 * prm.sampleRate;
  if (frq > nyquist) frq = nyquist;
  prm.frq = frq;
}

SectionCoefficients designSection(int16_t code, double frq, double frqLow, double frqHigh, double q,
                                  double gain, double sampleRate, double pi) {
  // Pre-warped tangents; multiply first, then divide.
  const double K = std::tan(pi * frq / sampleRate);
  const double K2 = std::tan(pi * frqLow / sampleRate);
  const double K3 = std::tan(pi * frqHigh / sampleRate);

  switch (code) {
    case kLowPass1: {  // low-pass, first order
      const double D = 1.0 + K;
      return firstOrder(D, K, K, K - 1.0);
    }
    case kHighPass1: {  // high-pass, first order
      const double D = 1.0 + K;
      return firstOrder(D, 1.0, -1.0, K - 1.0);
    }
    case kButterworthLowPass: {  // Butterworth low-pass
      const double D = 1.0 + kSqrt2 * K + K * K;
      return secondOrder(D, K * K, 2.0 * K * K, K * K, 2.0 * (K * K - 1.0),
                         1.0 - kSqrt2 * K + K * K);
    }
    case kButterworthHighPass: {  // Butterworth high-pass
      const double D = 1.0 + kSqrt2 * K + K * K;
      return secondOrder(D, 1.0, -2.0, 1.0, 2.0 * (K * K - 1.0), 1.0 - kSqrt2 * K + K * K);
    }
    case kBandPassEdges: {  // band-pass between the band edges: centre sqrt(K2*K3), width K3-K2
      const double D = 1.0 + (K3 - K2) + K2 * K3;
      return secondOrder(D, K3 - K2, 0.0, -(K3 - K2), 2.0 * (K2 * K3 - 1.0),
                         1.0 - (K3 - K2) + K2 * K3);
    }
    case kBandStopEdges: {  // band-stop between the band edges
      const double D = 1.0 + (K3 - K2) + K2 * K3;
      return secondOrder(D, 1.0 + K2 * K3, 2.0 * (K2 * K3 - 1.0), 1.0 + K2 * K3,
                         2.0 * (K2 * K3 - 1.0), 1.0 - (K3 - K2) + K2 * K3);
    }
    case kLowPass2: {  // low-pass with damping sqrt2/q (q = 1 is Butterworth)
      const double D = 1.0 + (kSqrt2 * K) / q + K * K;
      return secondOrder(D, K * K, 2.0 * K * K, K * K, 2.0 * (K * K - 1.0),
                         1.0 - (kSqrt2 * K) / q + K * K);
    }
    case kHighPass2: {  // high-pass with damping sqrt2/q
      const double D = 1.0 + (kSqrt2 * K) / q + K * K;
      return secondOrder(D, 1.0, -2.0, 1.0, 2.0 * (K * K - 1.0), 1.0 - (kSqrt2 * K) / q + K * K);
    }
    case kBandPass: {  // band-pass, 0 dB at the centre
      const double D = 1.0 + K / q + K * K;
      return secondOrder(D, K / q, 0.0, -(K / q), 2.0 * (K * K - 1.0), 1.0 - K / q + K * K);
    }
    case kNotch: {  // notch
      const double D = 1.0 + K / q + K * K;
      return secondOrder(D, 1.0 + K * K, 2.0 * (K * K - 1.0), 1.0 + K * K, 2.0 * (K * K - 1.0),
                         1.0 - K / q + K * K);
    }
    case kPeaking: {  // peaking; a cut of x dB inverts a boost of x dB exactly
      if (gain > 0.0) {
        const double V = std::pow(10.0, gain / 20.0);
        const double D = 1.0 + K / q + K * K;
        return secondOrder(D, 1.0 + (V * K) / q + K * K, 2.0 * (K * K - 1.0),
                           1.0 - (V * K) / q + K * K, 2.0 * (K * K - 1.0), 1.0 - K / q + K * K);
      }
      const double V = std::pow(10.0, -gain / 20.0);
      const double D = 1.0 + (V * K) / q + K * K;
      return secondOrder(D, 1.0 + K / q + K * K, 2.0 * (K * K - 1.0), 1.0 - K / q + K * K,
                         2.0 * (K * K - 1.0), 1.0 - (V * K) / q + K * K);
    }
    case kLowShelf1: {  // low shelf: V at DC, 1 at Nyquist
      const double V = std::pow(10.0, gain / 20.0);
      const double D = 1.0 + K;
      return firstOrder(D, 1.0 + V * K, V * K - 1.0, K - 1.0);
    }
    case kHighShelf1: {  // high shelf: 1 at DC, V at Nyquist
      const double V = 1.0 / std::pow(10.0, -gain / 20.0);
      const double D = 1.0 + K;
      return firstOrder(D, K + V, K - V, K - 1.0);
    }
    default:
      return onePole(frq, sampleRate, pi);
  }
}
