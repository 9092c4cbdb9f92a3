// The five value-to-text operations of AudioEffect.
//
// Every one leaves at most maxLen characters and a terminating zero in a
// buffer the caller sized to maxLen + 1 bytes. A null buffer or a negative
// maxLen (no room even for the terminator) is left alone.
#include <cmath>
#include <cstring>

#include "frame/AudioEffect.h"

namespace {

const char kHuge[] = "Huge!";

bool usable(const char* text, int32_t maxLen) { return text != nullptr && maxLen >= 0; }

// Writes `piece` cut to maxLen characters: copy, then force a zero at index maxLen.
void writeCut(char* text, const char* piece, int32_t maxLen) {
  std::strncpy(text, piece, static_cast<std::size_t>(maxLen));
  text[maxLen] = 0;
}

// Appends `piece`, keeping the whole text within maxLen characters.
void appendCut(char* text, const char* piece, int32_t maxLen) {
  const std::size_t length = std::strlen(text);
  const std::size_t limit = static_cast<std::size_t>(maxLen);
  if (length < limit) std::strncat(text, piece, limit - length);
  text[maxLen] = 0;
}

// Decimal digit of the integer part of x (x finite and >= 0).
char lowDigit(double x) { return static_cast<char>('0' + static_cast<int>(std::fmod(x, 10.0))); }

}  // namespace

// Decimal digits, a leading "-" for negatives, "Huge!" from 100000000 up and
// for negatives of magnitude 1000000000 and more (those would need a tenth
// digit, which the fixed divisor chain cannot produce). The magnitude is taken
// in unsigned arithmetic so that INT_MIN does not overflow.
void AudioEffect::int2string(int32_t value, char* text, int32_t maxLen) {
  if (!usable(text, maxLen)) return;
  if (value >= 100000000) {
    writeCut(text, kHuge, maxLen);
    return;
  }
  uint32_t remaining = static_cast<uint32_t>(value);
  if (value < 0) {
    remaining = 0u - remaining;
    if (remaining >= 1000000000u) {
      writeCut(text, kHuge, maxLen);
      return;
    }
    writeCut(text, "-", maxLen);
  } else {
    writeCut(text, value == 0 ? "0" : "", maxLen);
  }

  bool started = false;
  for (uint32_t divisor = 100000000u; divisor > 0; divisor /= 10) {
    const uint32_t digit = remaining / divisor;
    remaining = remaining - digit * divisor;
    if (started || digit >= 1) {
      const char piece[2] = {static_cast<char>('0' + digit), 0};
      appendCut(text, piece, maxLen);
      started = true;
    }
  }
}

// Sign character, integer digits, ".", up to two decimals: 8 characters at
// most. The value is rounded by adding 0.005 (in single precision) away from
// zero, then the digits are read off with fmod and repeated * 0.1.
//
// Wide integer parts follow the same budget deterministically: a 5-digit
// integer part gets one decimal character, and that character is the
// hundredths digit (the decimals are produced hundredths first); 6 digits get
// none; 7 and 8 digits keep only their lowest digits, since the integer loop
// stops at width 8. NaN shows "Huge!" like any other value out of range.
void AudioEffect::float2string(float value, char* text, int32_t maxLen) {
  if (!usable(text, maxLen)) return;

  if (std::fabs(value) < 0.005f) {
    value = 0.0f;
  } else if (value < 0.0f) {
    value = value - 0.005f;
  } else {
    value = value + 0.005f;
  }

  double v = value;
  bool negative = false;
  if (v < 0.0) {
    negative = true;
    v = -v;
    if (v > 9999999.0) {
      writeCut(text, kHuge, maxLen);
      return;
    }
  } else if (!(v <= 99999999.0)) {  // above the limit, or NaN
    writeCut(text, kHuge, maxLen);
    return;
  }

  // Integer part, built backwards from the end of a local buffer.
  char temp[32];
  int pos = 31;
  temp[pos] = 0;
  temp[--pos] = '.';
  double integ = std::floor(v);
  temp[--pos] = lowDigit(integ);
  integ = integ * 0.1;
  int width = 3;  // sign, point and the units digit
  while (integ >= 1.0 && width < 8) {
    temp[--pos] = lowDigit(integ);
    integ = integ * 0.1;
    ++width;
  }
  temp[--pos] = negative ? '-' : ' ';
  writeCut(text, &temp[pos], maxLen);

  if (width >= 8) return;

  // Decimals: hundredths first, each placed in front of the previous one.
  char decimals[3] = {0, 0, 0};
  int decimalPos = 2;
  double mantissa = (v - std::trunc(v)) * 100.0;
  for (int produced = 0; produced < 2 && width < 8; ++produced) {
    char digit = '0';
    if (mantissa > 0.0) {
      digit = lowDigit(mantissa);
      mantissa = mantissa * 0.1;
    }
    decimals[--decimalPos] = digit;
    ++width;
  }
  appendCut(text, &decimals[decimalPos], maxLen);
}

// A duration in samples shown in milliseconds.
void AudioEffect::ms2string(float samples, char* text, int32_t maxLen) {
  const double milliseconds =
      static_cast<double>(samples) * 1000.0 / static_cast<double>(getSampleRate());
  float2string(static_cast<float>(milliseconds), text, maxLen);
}

// A period in samples shown as a frequency in Hz; a zero (or NaN) period shows 0.
void AudioEffect::Hz2string(float samples, char* text, int32_t maxLen) {
  if (samples == 0.0f || std::isnan(samples)) {
    float2string(0.0f, text, maxLen);
  } else {
    float2string(getSampleRate() / samples, text, maxLen);
  }
}

// A linear gain shown in dB; gains that are not positive show "-Inf".
void AudioEffect::dB2string(float value, char* text, int32_t maxLen) {
  if (!(value > 0.0f)) {
    if (usable(text, maxLen)) writeCut(text, "-Inf", maxLen);
    return;
  }
  float2string(static_cast<float>(20.0 * std::log10(static_cast<double>(value))), text, maxLen);
}
