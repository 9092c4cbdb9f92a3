// Identity, parameters and programs, seen through the record and the
// host-extension slots.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/ModuleHost.h"

using namespace testhost;

namespace {

class EffectShell : public ::testing::Test {
 protected:
  Module module;
  Instance fx{module};

  std::string display(int32_t index) const { return fx.text(effGetParamDisplay, index, 9); }
  std::string displayOf(int32_t index, float value) const {
    char text[9] = "unset";
    callVirtualSlot<void, int32_t, float, char*>(fx.object(), kSlotGetParameterDisplayOf, index,
                                                 value, text);
    return text;
  }
  std::string programName() const { return fx.text(effGetProgramName, 0, 24); }
  void rename(const char* name) const {
    fx.dispatch(effSetProgramName, 0, 0, const_cast<char*>(name));
  }
  std::string indexedName(int32_t program, intptr_t* answer = nullptr) const {
    char text[24] = "unset";
    const intptr_t result = fx.dispatch(effGetProgramNameIndexed, program, -1, text);
    if (answer) *answer = result;
    return text;
  }
};

TEST_F(EffectShell, IdentityAndFixedAnswers) {
  AEffect* record = fx.record();
  EXPECT_EQ(record->uniqueID, 0x4D4A434D);
  EXPECT_EQ(record->numInputs, 1);
  EXPECT_EQ(record->numOutputs, 1);
  EXPECT_EQ(record->numPrograms, 16);
  EXPECT_EQ(record->numParams, 4);
  EXPECT_TRUE(record->flags & effFlagsCanDoubleReplacing);
  EXPECT_TRUE(record->flags & effFlagsCanReplacing);
  EXPECT_EQ(fx.dispatch(effGetVendorVersion), 1000);
  EXPECT_EQ(fx.dispatch(effGetPlugCategory), 1);

  // Names are padded with zeros up to the limit and terminated behind it.
  for (auto [opcode, limit] :
       {std::pair{effGetEffectName, 32}, std::pair{effGetProductString, 64}}) {
    std::vector<char> buffer(limit + 8, '\x7f');
    EXPECT_EQ(fx.dispatch(opcode, 0, 0, buffer.data()), 1);
    EXPECT_STREQ(buffer.data(), "VELTRAX");
    for (int i = 7; i <= limit; ++i) EXPECT_EQ(buffer[i], 0) << i;
    EXPECT_EQ(buffer[limit + 1], '\x7f');
  }

  void* object = fx.object();
  EXPECT_EQ(callVirtualSlot<int32_t>(object, kSlotGetNumOfInJacks), 1);
  EXPECT_EQ(callVirtualSlot<int32_t>(object, kSlotGetNumOfOutJacks), 1);
  for (int32_t jack : {0, 1, -3}) {
    EXPECT_EQ((callVirtualSlot<int32_t, int32_t>(object, kSlotGetNumOfInSig, jack)), 1);
    EXPECT_EQ((callVirtualSlot<int32_t, int32_t>(object, kSlotGetNumOfOutSig, jack)), 1);
    EXPECT_EQ((callVirtualSlot<int32_t, int32_t>(object, kSlotGetStartNumInSig, jack)), 0);
    EXPECT_EQ((callVirtualSlot<int32_t, int32_t>(object, kSlotGetStartNumOutSig, jack)), 0);
  }
  EXPECT_EQ(callVirtualSlot<int32_t>(object, kSlotGetDryInSigNum), -1);
  EXPECT_EQ(callVirtualSlot<int32_t>(object, kSlotGetHeaderVersion), 1);
}

TEST_F(EffectShell, ParameterNamesValuesAndDisplays) {
  const char* names[] = {"On/Off", "volume", "tone", "sustain"};
  const float defaults[] = {1.0f, 0.5f, 0.5f, 0.5f};
  for (int32_t i = 0; i < 4; ++i) {
    EXPECT_EQ(fx.text(effGetParamName, i, 9), names[i]);
    EXPECT_EQ(fx.text(effGetParamLabel, i, 9), "");
    EXPECT_EQ(fx.getParameter(i), defaults[i]);
  }
  EXPECT_EQ(display(0), "on");
  EXPECT_EQ(display(1), " 5.00");

  struct Row {
    int32_t index;
    float value;
    const char* text;
  };
  for (Row row : {Row{0, 1.0f, "on"}, Row{0, 0.999f, "off"}, Row{0, 0.5f, "off"},
                  Row{0, 0.0f, "off"}, Row{1, 1.0f, " 10.00"}, Row{2, 0.0f, " 0.00"},
                  Row{3, 0.25f, " 2.50"}, Row{3, -0.5f, "-5.00"}}) {
    EXPECT_EQ(displayOf(row.index, row.value), row.text) << row.index << " " << row.value;
    fx.setParameter(row.index, row.value);
    EXPECT_EQ(display(row.index), row.text);
    EXPECT_EQ(fx.getParameter(row.index), row.value);  // stored as given, no clamping
  }

  // Unknown indexes: nothing stored, nothing written.
  fx.setParameter(4, 0.3f);
  EXPECT_EQ(fx.getParameter(4), 0.0f);
  EXPECT_EQ(fx.getParameter(-1), 0.0f);
  EXPECT_EQ(displayOf(7, 0.5f), "unset");
  char untouched[9] = "keep";
  fx.dispatch(effGetParamDisplay, 4, 0, untouched);
  fx.dispatch(effGetParamName, -1, 0, untouched);
  EXPECT_STREQ(untouched, "keep");
}

TEST_F(EffectShell, ParameterPropertiesFillExactly154Bytes) {
  for (int32_t index = 0; index < 5; ++index) {
    unsigned char record[160];
    std::memset(record, 0xAA, sizeof record);
    const intptr_t described = fx.dispatch(effGetParameterProperties, index, 0, record);
    if (index == 4) {
      EXPECT_EQ(described, 0);
      EXPECT_EQ(record[0], 0xAA);
      continue;
    }
    EXPECT_EQ(described, 1);
    float stepFloat;
    int32_t flags;
    std::memcpy(&stepFloat, record, 4);
    std::memcpy(&flags, record + 76, 4);  // after three floats and the 64-byte label
    EXPECT_EQ(flags, index == 0 ? 1 : 4);
    EXPECT_EQ(stepFloat, index == 0 ? 0.0f : 0.01f);
    EXPECT_EQ(record[12], 0);   // empty label
    EXPECT_EQ(record[152], 1);  // trailing flag
    EXPECT_EQ(record[153], 0);
    EXPECT_EQ(record[154], 0xAA);  // nothing beyond the 154 bytes
  }
  EXPECT_EQ(fx.dispatch(effGetParameterProperties, 0, 0, nullptr), 0);
}

TEST_F(EffectShell, ProgramNamesAreNumberedUntilRenamed) {
  EXPECT_EQ(programName(), "Init 1");
  intptr_t answer = 0;
  EXPECT_EQ(indexedName(5, &answer), "Init");
  EXPECT_EQ(answer, 1);
  EXPECT_EQ(indexedName(16, &answer), "unset");
  EXPECT_EQ(answer, 0);
  EXPECT_EQ(indexedName(-1, &answer), "unset");

  fx.setProgramLong(3);
  EXPECT_EQ(programName(), "Init 4");
  EXPECT_EQ(fx.dispatch(effGetProgram), 3);
  // Only the exact name "Init" reads numbered; names keep 23 characters.
  for (auto [name, shown] :
       {std::pair{"Lead", "Lead"}, std::pair{"init", "init"}, std::pair{"Init ", "Init "},
        std::pair{"Init", "Init 4"},
        std::pair{"A name far longer than twenty-three characters", "A name far longer than "}}) {
    rename(name);
    EXPECT_EQ(programName(), shown);
    EXPECT_EQ(indexedName(3), name == std::string("Init") ? "Init" : shown);
  }
}

TEST_F(EffectShell, ProgramEditsSurviveSwitching) {
  fx.setProgramLong(2);
  fx.setParameter(2, 0.8f);
  fx.setProgramLong(5);
  EXPECT_EQ(fx.getParameter(2), 0.5f);
  fx.setProgramLong(2);
  EXPECT_EQ(fx.getParameter(2), 0.8f);

  // Out-of-range program changes are ignored on both roads.
  for (long bad : {-1L, 16L, 1000L}) fx.setProgramLong(bad);
  for (intptr_t bad : {intptr_t{-1}, intptr_t{16}}) fx.dispatch(effSetProgram, 0, bad);
  EXPECT_EQ(fx.dispatch(effGetProgram), 2);
  EXPECT_EQ(fx.getParameter(2), 0.8f);
}

TEST_F(EffectShell, BaseProgramChangeKeepsValuesAndRedirectsEdits) {
  fx.setParameter(3, 0.9f);          // program 0 now has sustain 0.9
  fx.dispatch(effSetProgram, 0, 7);  // the record's program change
  EXPECT_EQ(fx.dispatch(effGetProgram), 7);
  EXPECT_EQ(fx.getParameter(3), 0.9f);  // values stay as they were
  fx.setParameter(1, 0.1f);             // ...and edits go into program 7
  fx.setProgramLong(0);
  EXPECT_EQ(fx.getParameter(3), 0.9f);
  EXPECT_EQ(fx.getParameter(1), 0.5f);
  fx.setProgramLong(7);
  EXPECT_EQ(fx.getParameter(1), 0.1f);
  EXPECT_EQ(fx.getParameter(3), 0.5f);
}

}  // namespace
