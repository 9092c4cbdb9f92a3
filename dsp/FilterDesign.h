// Bilinear-transform designs of the fourteen section responses, as pure
// functions of the (already sanitised) design values.
//
// Type codes: 0 LP1, 1 HP1, 2 Butterworth LP2, 3 Butterworth HP2, 4 band-pass
// frqLow..frqHigh, 5 band-stop frqLow..frqHigh, 6 LP2 with damping sqrt2/q,
// 7 HP2 with damping sqrt2/q, 8 band-pass 0 dB at frq, 9 notch, 10 peaking
// (boost/cut symmetric), 11 low shelf (gain at DC), 12 high shelf (gain at
// Nyquist); anything else a one-pole low-pass with its -3 dB point at frq.
#pragma once

#include <cstdint>

struct filterPrm_tag;

// The type codes a design record's `num` holds (an int32_t field).
enum SectionType : int32_t {
  kLowPass1 = 0,             // first-order low-pass
  kHighPass1 = 1,            // first-order high-pass
  kButterworthLowPass = 2,   // second order
  kButterworthHighPass = 3,  // second order
  kBandPassEdges = 4,        // between frqLow and frqHigh
  kBandStopEdges = 5,        // between frqLow and frqHigh
  kLowPass2 = 6,             // second order, damping sqrt2/q
  kHighPass2 = 7,            // second order, damping sqrt2/q
  kBandPass = 8,             // 0 dB at frq
  kNotch = 9,
  kPeaking = 10,     // boost/cut symmetric
  kLowShelf1 = 11,   // first order, gain at DC
  kHighShelf1 = 12,  // first order, gain at Nyquist
  // every other code: one-pole low-pass, -3 dB at frq
};

struct SectionCoefficients {
  double coef[5];  // -a1, -a2, b0, b1, b2 (one-pole: 1-p, 0, p, 0, 0)
  int32_t biquad;  // 1 for codes 0..12, 0 for the one-pole
};

// q <= 0 (or NaN) -> 1.0; frq <= 0 (or NaN) -> 20 Hz; frq above half the
// sample rate -> half the sample rate. The results are written back.
void sanitizeDesignRecord(filterPrm_tag& prm);

// Coefficients for one type code. frq is used as given (sanitise first);
// pi is the constant the section carries.
SectionCoefficients designSection(int16_t code, double frq, double frqLow, double frqHigh, double q,
                                  double gain, double sampleRate, double pi);

// The type code a record selects: its low 16 bits read as a signed value.
int16_t sectionTypeCode(int32_t num);
