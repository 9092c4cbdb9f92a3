// lv2apply, the LV2 command-line renderer Debian ships, renders a WAV file
// through the bundle exactly as a user would. It runs one frame per call with
// no host features, so its output must equal the module fed one-sample blocks.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "lv2/PluginIdentity.h"
#include "lv2_test_support.h"

#if VELTRAX_HAVE_SNDFILE
#include <sndfile.h>
#endif

namespace {

#if VELTRAX_HAVE_SNDFILE

bool writeWav(const std::string& path, const std::vector<float>& samples, int rate) {
  SF_INFO info{};
  info.samplerate = rate;
  info.channels = 1;
  info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (file == nullptr) return false;
  const sf_count_t written =
      sf_writef_float(file, samples.data(), static_cast<sf_count_t>(samples.size()));
  sf_close(file);
  return written == static_cast<sf_count_t>(samples.size());
}

std::vector<float> readWav(const std::string& path, SF_INFO& info) {
  info = SF_INFO{};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  if (file == nullptr) return {};
  std::vector<float> samples(static_cast<size_t>(info.frames * info.channels));
  sf_readf_float(file, samples.data(), info.frames);
  sf_close(file);
  return samples;
}

TEST(Lv2Apply, RendersAWavThroughTheBundle) {
  const std::string lv2apply = LV2APPLY_PATH;
  if (lv2apply.empty() || lv2apply.find("NOTFOUND") != std::string::npos)
    GTEST_SKIP() << "lv2apply (Debian lilv-utils) not installed";

  const int rate = 48000;
  const std::vector<float> input = lv2test::guitarLike(rate, 12000);
  const auto dir =
      std::filesystem::temp_directory_path() / ("veltrax-lv2apply-" + std::to_string(::getpid()));
  std::filesystem::create_directories(dir);
  const std::string in = (dir / "in.wav").string(), out = (dir / "out.wav").string();
  ASSERT_TRUE(writeWav(in, input, rate));

  const std::string command = "LV2_PATH='" VELTRAX_LV2_PATH "' '" + lv2apply + "' -i '" + in +
                              "' -o '" + out + "' -c sustain 7.5 -c tone 2.5 -c volume 6 " +
                              veltrax::lv2::kPluginUri + " 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0) << command;

  SF_INFO info;
  const std::vector<float> rendered = readWav(out, info);
  std::filesystem::remove_all(dir);
  ASSERT_EQ(info.samplerate, rate);
  ASSERT_EQ(info.channels, 1);
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
