// Number-to-text helpers: the texts they produce, the maxLen cut, and that
// nothing is written past maxLen + 1 bytes.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <string>

#include "frame/AudioEffectX.h"

namespace {

struct TextEffect : AudioEffectX {
  TextEffect() : AudioEffectX(nullptr, 1, 1) {}
  void processReplacing(float**, float**, int32_t) override {}
};

enum Helper { Int, Float, Db, Hz, Ms };
struct TextCase {
  Helper helper;
  double value;
  int32_t maxLen;
  const char* text;
};
const double kInf = INFINITY, kNaN = NAN;
// The helpers that take a float, in the order of Helper from Float on.
void (AudioEffect::*const kFloatHelpers[])(float, char*, int32_t) = {
    &AudioEffect::float2string, &AudioEffect::dB2string, &AudioEffect::Hz2string,
    &AudioEffect::ms2string};

const TextCase cases[] = {
    {Int, 0, 8, "0"},
    {Int, 7, 8, "7"},
    {Int, 1000, 8, "1000"},
    {Int, -42, 8, "-42"},
    {Int, 99999999, 8, "99999999"},
    {Int, 100000000, 8, "Huge!"},
    {Int, INT_MAX, 8, "Huge!"},
    {Int, -999999999, 10, "-999999999"},
    {Int, -1000000000, 10, "Huge!"},
    {Int, INT_MIN, 10, "Huge!"},
    {Int, 12345, 3, "123"},
    {Int, -42, 1, "-"},
    {Int, 100000000, 2, "Hu"},
    {Int, 5, 0, ""},
    {Float, 0.0, 8, " 0.00"},
    {Float, 5.0, 8, " 5.00"},
    {Float, 0.5, 8, " 0.50"},
    {Float, -0.5, 8, "-0.50"},
    {Float, 0.0049, 8, " 0.00"},
    {Float, -0.0049, 8, " 0.00"},
    {Float, 1.999, 8, " 2.00"},
    {Float, 12.345, 8, " 12.35"},
    {Float, 1234.5, 8, " 1234.50"},
    {Float, 12345.25, 8, " 12345.5"},  // one slot left: it shows the hundredths digit
    {Float, 123456.7, 8, " 123456."},
    {Float, -9999998.0, 8, "-999998."},  // leading digit dropped
    {Float, -10000000.0, 8, "Huge!"},
    {Float, 100000000.0, 8, "Huge!"},
    {Float, kInf, 8, "Huge!"},
    {Float, -kInf, 8, "Huge!"},
    {Float, kNaN, 8, "Huge!"},
    {Float, 5.0, 3, " 5."},
    {Float, 5.0, 4, " 5.0"},
    {Float, 5.0, 0, ""},
    {Db, 1.0, 8, " 0.00"},
    {Db, 10.0, 8, " 20.00"},
    {Db, 0.5, 8, "-6.02"},
    {Db, 0.0, 8, "-Inf"},
    {Db, -1.0, 8, "-Inf"},
    {Db, kNaN, 8, "-Inf"},
    {Db, 0.0, 2, "-I"},
    {Hz, 0.0, 8, " 0.00"},
    {Hz, kNaN, 8, " 0.00"},
    {Hz, 441.0, 8, " 100.00"},
    {Hz, -441.0, 8, "-100.00"},
    {Ms, 44100.0, 8, " 1000.00"},
    {Ms, 441.0, 8, " 10.00"},
};

TEST(FrameValueToText, ProducesTheExpectedTextWithinMaxLen) {
  TextEffect effect;  // 44100 Hz
  for (const TextCase& c : cases) {
    char text[32];
    std::memset(text, '#', sizeof(text));
    if (c.helper == Int)
      effect.int2string(static_cast<int32_t>(c.value), text, c.maxLen);
    else
      (effect.*kFloatHelpers[c.helper - Float])(static_cast<float>(c.value), text, c.maxLen);
    EXPECT_STREQ(text, c.text) << "helper " << c.helper << " value " << c.value << " maxLen "
                               << c.maxLen;
    EXPECT_EQ(text[c.maxLen + 1], '#') << "wrote past maxLen + 1 for value " << c.value;
  }
}

TEST(FrameValueToText, UnitHelpersUseTheCurrentRateAndTheVirtualFloat2string) {
  struct Marked : TextEffect {
    void float2string(float value, char* text, int32_t) override {
      std::strcpy(text, std::to_string(value).c_str());
    }
  } effect;
  effect.setSampleRate(48000.0f);
  char ms[32], hz[32], db[32];
  effect.ms2string(48000.0f, ms, 8);
  effect.Hz2string(480.0f, hz, 8);
  effect.dB2string(1.0f, db, 8);
  EXPECT_EQ(std::string(ms) + " " + hz + " " + db, "1000.000000 100.000000 0.000000");
}

}  // namespace
