// lv2apply, the LV2 command-line renderer Debian ships, renders a WAV file
// through the bundle exactly as a user would. It runs one frame per call with
// no host features, so its output must equal the module fed one-sample blocks.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "lv2/PluginIdentity.h"
#include "lv2_test_support.h"

#if VELTRAX_HAVE_SNDFILE
#include "support/CliHarness.h"
#endif

namespace {

#if VELTRAX_HAVE_SNDFILE

TEST(Lv2Apply, RendersAWavThroughTheBundle) {
  const std::string lv2apply = LV2APPLY_PATH;
  if (lv2apply.empty() || lv2apply.find("NOTFOUND") != std::string::npos)
    GTEST_SKIP() << "lv2apply (Debian lilv-utils) not installed";

  const int rate = 48000;
  const std::vector<float> input = lv2test::guitarLike(rate, 12000);
  cli_test::ScratchDir dir;
  const std::string in = dir.file("in.wav"), out = dir.file("out.wav");
  cli_test::writeAudio(in, {{input.begin(), input.end()}}, rate, SF_FORMAT_WAV | SF_FORMAT_FLOAT);

  const std::string command = "LV2_PATH='" VELTRAX_LV2_PATH "' '" + lv2apply + "' -i '" + in +
                              "' -o '" + out + "' -c sustain 7.5 -c tone 2.5 -c volume 6 " +
                              veltrax::lv2::kPluginUri + " 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0) << command;

  const cli_test::Audio result = cli_test::readAudio(out);
  ASSERT_EQ(result.info.samplerate, rate);
  ASSERT_EQ(result.info.channels, 1);
  const std::vector<float> rendered(result.channels[0].begin(), result.channels[0].end());
  ASSERT_EQ(rendered.size(), input.size());

  std::vector<lv2test::Block> plan = lv2test::evenBlocks(input.size(), 1);
  plan[0].changes = {{"sustain", 7.5f}, {"tone", 2.5f}, {"volume", 6.0f}};
  const std::vector<float> expected = lv2test::renderModule(rate, 8192, input, plan);
  EXPECT_EQ(lv2test::firstDifference(rendered, expected), -1);
  EXPECT_GT(lv2test::rms(rendered), 0.01);
}

#else

TEST(Lv2Apply, RendersAWavThroughTheBundle) { GTEST_SKIP() << "built without libsndfile"; }

#endif

}  // namespace
