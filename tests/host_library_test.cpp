// The host library against the built module: creation through both entry
// functions, parameters, programs, the extension slots, and processing
// through a bank of instances (one instance's wet/dry processing is checked
// end to end by cli_render_test).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "host/analysis/Measurements.h"
#include "host/audio/ChannelBank.h"
#include "host/common/HostError.h"
#include "host/plugin/EffectInstance.h"
#include "host/plugin/KnobSettings.h"

using namespace veltrax::host;
using testing::HasSubstr;

namespace {

std::vector<double> tone(size_t frames, double frequency, double amplitude) {
  std::vector<double> signal(frames);
  for (size_t i = 0; i < frames; ++i) signal[i] = amplitude * std::sin(0.000142 * frequency * i);
  return signal;
}

std::string failureOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const HostError& e) {
    return e.what();
  }
  return "(no error)";
}

class HostLibraryTest : public testing::Test {
 protected:
  std::shared_ptr<ModuleLibrary> module = ModuleLibrary::open(VELTRAX_MODULE_PATH);
};

// (That the two entry functions give independent instances is plugin_entry_test's.)
TEST_F(HostLibraryTest, ParametersProgramsAndExtensionAnswerAsAHostSeesThem) {
  auto effect = EffectInstance::create(module, "QTypeIF");
  // Identity, names, displays, properties and program names as the library
  // reads them are checked end to end by `veltrax info` (cli_info_demo_test).
  EXPECT_EQ(effect->parameterProperties(kSustain)->trailingFlag, 1);
  EXPECT_FALSE(effect->parameterProperties(4));

  const HostExtension& ext = effect->extension();
  EXPECT_EQ(ext.headerVersion(), 1);
  EXPECT_EQ(ext.inSignalCount(0), 1);
  EXPECT_EQ(ext.drySignal(), -1);
  EXPECT_EQ(ext.displayOf(kOnOff, 1.0f), "on");
  EXPECT_EQ(ext.displayOf(kOnOff, 0.99f), "off");
  const std::string quarter = ext.displayOf(kVolume, 0.25f);
  EXPECT_EQ(effect->parameterDisplay(kVolume), ext.displayOf(kVolume, 0.5f));  // nothing changed
  effect->setParameter(kVolume, 0.25f);
  EXPECT_EQ(effect->parameterDisplay(kVolume), quarter);

  ext.selectProgram(3);
  EXPECT_EQ(effect->currentProgram(), 3);
  EXPECT_EQ(effect->currentProgramName(), "Init 4");
  EXPECT_FLOAT_EQ(effect->parameter(kVolume), 0.5f);
  ext.selectProgram(0);
  EXPECT_FLOAT_EQ(effect->parameter(kVolume), 0.25f);
  EXPECT_FALSE(effect->programName(16));
}

TEST_F(HostLibraryTest, ChannelBankMatchesOneInstancePerChannel) {
  const KnobSettings knobs{true, 0.8f, 0.3f, 0.9f};
  std::vector<std::vector<double>> planar{tone(5000, 110.0, 0.3), tone(5000, 440.0, 0.01),
                                          tone(5000, 55.0, 0.8)};
  std::vector<std::vector<double>> expected;
  for (const auto& channel : planar)
    expected.push_back(renderMono(module, knobs, 44100.0, 300, channel));
  ChannelBank bank(module, 3, 44100.0, 300, knobs);
  // Two calls, so instance state carries over between chunks as it must.
  std::vector<std::vector<double>> first(3), second(3);
  for (size_t c = 0; c < 3; ++c) {
    first[c].assign(planar[c].begin(), planar[c].begin() + 3100);
    second[c].assign(planar[c].begin() + 3100, planar[c].end());
  }
  bank.process(first, 3100);
  bank.process(second, 1900);
  for (size_t c = 0; c < 3; ++c) {
    first[c].insert(first[c].end(), second[c].begin(), second[c].end());
    EXPECT_EQ(first[c], expected[c]) << "channel " << c;
  }
}

TEST(HostLibraryFailures, NameTheModuleAndTheReason) {
  EXPECT_THAT(failureOf([] { ModuleLibrary::open("/nonexistent/veltrax.so"); }),
              HasSubstr("cannot load module /nonexistent/veltrax.so: No such file"));
  EXPECT_THAT(failureOf([] { ModuleLibrary::open("/tmp"); }), HasSubstr("not a regular file"));
  auto refusing = ModuleLibrary::open(VELTRAX_REFUSING_MODULE_PATH);
  EXPECT_THAT(failureOf([&] { EffectInstance::create(refusing); }),
              HasSubstr("created no instance"));
  EXPECT_THAT(failureOf([&] { EffectInstance::create(refusing, "QTypeIF"); }),
              HasSubstr("does not export QTypeIF"));
}

TEST(HostCallbackTest, AnswersVersionAndTheAskingInstancesRateAndBlockSize) {
  HostContext context{96000.0, 333};
  AEffect record{};
  record.user = &context;
  EXPECT_EQ(hostCallback(nullptr, audioMasterVersion, 0, 0, nullptr, 0.0f), 2400);
  EXPECT_EQ(hostCallback(&record, audioMasterGetSampleRate, 0, 0, nullptr, 0.0f), 96000);
  EXPECT_EQ(hostCallback(&record, audioMasterGetBlockSize, 0, 0, nullptr, 0.0f), 333);
  EXPECT_EQ(hostCallback(nullptr, audioMasterGetSampleRate, 0, 0, nullptr, 0.0f), 0);
  for (int32_t opcode : {audioMasterAutomate, audioMasterCurrentId, audioMasterGetTime,
                         audioMasterCanDo, audioMasterGetVendorString})
    EXPECT_EQ(hostCallback(&record, opcode, 0, 0, nullptr, 0.0f), 0) << opcode;
}

}  // namespace
