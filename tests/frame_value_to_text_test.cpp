// Number-to-text helpers: the texts they produce, the maxLen cut, and that
// nothing is written past maxLen + 1 bytes.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "frame/AudioEffectX.h"

namespace {

class TextEffect : public AudioEffectX {
 public:
  TextEffect() : AudioEffectX(nullptr, 1, 1) {}
  void processReplacing(float**, float**, int32_t) override {}
};

enum class Helper { int2string, float2string, dB2string, Hz2string, ms2string };

struct TextCase {
  Helper helper;
  double value;
  int32_t maxLen;
  const char* text;
};

const float kNaN = std::numeric_limits<float>::quiet_NaN();
const float kInf = std::numeric_limits<float>::infinity();

const TextCase cases[] = {
    {Helper::int2string, 0, 8, "0"},
    {Helper::int2string, 7, 8, "7"},
    {Helper::int2string, 1000, 8, "1000"},
    {Helper::int2string, -42, 8, "-42"},
    {Helper::int2string, -7, 8, "-7"},
    {Helper::int2string, 99999999, 8, "99999999"},
    {Helper::int2string, 100000000, 8, "Huge!"},
    {Helper::int2string, INT_MAX, 8, "Huge!"},
    {Helper::int2string, -999999999, 10, "-999999999"},
    {Helper::int2string, -1000000000, 10, "Huge!"},
    {Helper::int2string, INT_MIN, 10, "Huge!"},
    {Helper::int2string, 12345, 3, "123"},
    {Helper::int2string, -42, 1, "-"},
    {Helper::int2string, 100000000, 2, "Hu"},
    {Helper::int2string, 5, 0, ""},

    {Helper::float2string, 0.0, 8, " 0.00"},
    {Helper::float2string, 5.0, 8, " 5.00"},
    {Helper::float2string, 0.5, 8, " 0.50"},
    {Helper::float2string, -0.5, 8, "-0.50"},
    {Helper::float2string, 0.004, 8, " 0.00"},
    {Helper::float2string, 0.0049, 8, " 0.00"},
    {Helper::float2string, -0.0049, 8, " 0.00"},  // rounds to zero: no minus
    {Helper::float2string, 1.999, 8, " 2.00"},
    {Helper::float2string, 12.345, 8, " 12.35"},
    {Helper::float2string, 1234.5, 8, " 1234.50"},
    {Helper::float2string, 12345.25, 8, " 12345.5"},  // one slot left: the hundredths digit
    {Helper::float2string, 123456.7, 8, " 123456."},
    {Helper::float2string, -9999998.0, 8, "-999998."},  // not "Huge!"; leading digits dropped
    {Helper::float2string, -10000000.0, 8, "Huge!"},
    {Helper::float2string, 100000000.0, 8, "Huge!"},
    {Helper::float2string, kInf, 8, "Huge!"},
    {Helper::float2string, -kInf, 8, "Huge!"},
    {Helper::float2string, kNaN, 8, "Huge!"},
    {Helper::float2string, 5.0, 3, " 5."},
    {Helper::float2string, 5.0, 4, " 5.0"},
    {Helper::float2string, 5.0, 0, ""},

    {Helper::dB2string, 1.0, 8, " 0.00"},
    {Helper::dB2string, 10.0, 8, " 20.00"},
    {Helper::dB2string, 0.5, 8, "-6.02"},
    {Helper::dB2string, 0.0, 8, "-Inf"},
    {Helper::dB2string, -1.0, 8, "-Inf"},
    {Helper::dB2string, kNaN, 8, "-Inf"},
    {Helper::dB2string, 0.0, 2, "-I"},

    {Helper::Hz2string, 0.0, 8, " 0.00"},
    {Helper::Hz2string, kNaN, 8, " 0.00"},
    {Helper::Hz2string, 441.0, 8, " 100.00"},
    {Helper::Hz2string, -441.0, 8, "-100.00"},

    {Helper::ms2string, 44100.0, 8, " 1000.00"},
    {Helper::ms2string, 441.0, 8, " 10.00"},
};

void run(AudioEffect& effect, const TextCase& c, char* text) {
  const float value = static_cast<float>(c.value);
  switch (c.helper) {
    case Helper::int2string:
      effect.int2string(static_cast<int32_t>(c.value), text, c.maxLen);
      break;
    case Helper::float2string:
      effect.float2string(value, text, c.maxLen);
      break;
    case Helper::dB2string:
      effect.dB2string(value, text, c.maxLen);
      break;
    case Helper::Hz2string:
      effect.Hz2string(value, text, c.maxLen);
      break;
    case Helper::ms2string:
      effect.ms2string(value, text, c.maxLen);
      break;
  }
}

TEST(FrameValueToText, ProducesTheExpectedTextWithinMaxLen) {
  TextEffect effect;  // 44100 Hz
  for (const TextCase& c : cases) {
    char text[32];
    std::memset(text, '#', sizeof(text));
    run(effect, c, text);
    EXPECT_STREQ(text, c.text) << "helper " << static_cast<int>(c.helper) << " value " << c.value
                               << " maxLen " << c.maxLen;
    EXPECT_EQ(text[c.maxLen + 1], '#') << "wrote past maxLen + 1 for value " << c.value;
  }
}

TEST(FrameValueToText, UnitHelpersUseTheCurrentRateAndTheVirtualFloat2string) {
  struct Marked : TextEffect {
    void float2string(float value, char* text, int32_t) override {
      std::strcpy(text, ("F" + std::to_string(value)).c_str());
    }
  } effect;
  effect.setSampleRate(48000.0f);
  char text[32];
  effect.ms2string(48000.0f, text, 8);
  EXPECT_STREQ(text, "F1000.000000");
  effect.Hz2string(480.0f, text, 8);
  EXPECT_STREQ(text, "F100.000000");
  effect.dB2string(1.0f, text, 8);
  EXPECT_STREQ(text, "F0.000000");
}

}  // namespace
