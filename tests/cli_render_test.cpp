// `veltrax render` end to end: the built binary with the built module, on
// files generated here.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/CliHarness.h"

using cli_test::Audio;
using cli_test::readAudio;
using cli_test::runCli;
using cli_test::ScratchDir;
using cli_test::testSignal;
using cli_test::writeAudio;
using testing::HasSubstr;

namespace {

constexpr int kRate = 44100;
constexpr size_t kFrames = 30000;  // not a multiple of any block length used

class RenderTest : public testing::Test {
 protected:
  void SetUp() override {
    writeAudio(in, {testSignal(kFrames, 110.0, kRate, 0.3)}, kRate, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  }
  ScratchDir dir;
  std::string in = dir.file("in.wav");
  std::string out = dir.file("out.wav");
};

TEST_F(RenderTest, KeepsLengthChannelsRateAndSampleTypeAndChangesTheSound) {
  const auto run = runCli({"render", in, out, "--preset", "classic-fuzz"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("real-time"));
  EXPECT_THAT(run.out, HasSubstr("dBFS"));
  const Audio result = readAudio(out);
  EXPECT_EQ(result.info.frames, static_cast<sf_count_t>(kFrames));
  EXPECT_EQ(result.info.channels, 1);
  EXPECT_EQ(result.info.samplerate, kRate);
  EXPECT_EQ(result.info.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  const Audio input = readAudio(in);
  EXPECT_NE(result.channels[0], input.channels[0]);
  double energy = 0.0;
  for (double sample : result.channels[0]) energy += sample * sample;
  EXPECT_GT(energy, 1e-3);
}

TEST_F(RenderTest, OffPassesTheInputThroughBitForBit) {
  for (const char* block : {"512", "1", "4097"}) {
    const auto run = runCli({"render", in, out, "--off", "--preset", "doom", "--block", block, "--force"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_EQ(readAudio(out).channels, readAudio(in).channels) << "block " << block;
  }
  // PCM in, PCM out: the same integers come back.
  const std::string pcm = dir.file("pcm.wav"), pcmOut = dir.file("pcm-out.wav");
  writeAudio(pcm, {testSignal(kFrames, 220.0, kRate, 0.5)}, kRate, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  ASSERT_EQ(runCli({"render", pcm, pcmOut, "--off"}).exitCode, 0);
  const Audio result = readAudio(pcmOut);
  EXPECT_EQ(result.info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  EXPECT_EQ(result.channels, readAudio(pcm).channels);
}

TEST_F(RenderTest, KnobsAgreeAcrossScalesAndPresets) {
  // Doom is sustain 1.0, tone 0.15, volume 0.89.
  const std::string a = dir.file("a.wav"), b = dir.file("b.wav"), c = dir.file("c.wav");
  ASSERT_EQ(runCli({"render", in, a, "--preset", "doom"}).exitCode, 0);
  ASSERT_EQ(runCli({"render", in, b, "--sustain", "1", "--tone", "0.15", "--volume", "0.89"}).exitCode, 0);
  ASSERT_EQ(runCli({"render", in, c, "--scale", "10", "--sustain", "10", "--tone", "1.5", "--volume",
                    "8.9"})
                .exitCode,
            0);
  EXPECT_EQ(readAudio(a).channels, readAudio(b).channels);
  EXPECT_EQ(readAudio(a).channels, readAudio(c).channels);
  // An explicit knob overrides the preset's.
  ASSERT_EQ(runCli({"render", in, b, "--preset", "doom", "--volume", "0.2", "--force"}).exitCode, 0);
  EXPECT_NE(readAudio(a).channels, readAudio(b).channels);
}

TEST_F(RenderTest, OutputFormatFollowsTheExtensionAndSubtype) {
  const struct {
    const char* name;
    std::vector<std::string> extra;
    int format;
  } cases[] = {
      {"out.flac", {}, SF_FORMAT_FLAC | SF_FORMAT_PCM_24},  // FLAC holds no float: best it can
      {"out.aiff", {"--subtype", "pcm16"}, SF_FORMAT_AIFF | SF_FORMAT_PCM_16},
      {"out.WAV", {"--subtype", "pcm24"}, SF_FORMAT_WAV | SF_FORMAT_PCM_24},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args{"render", in, dir.file(c.name)};
    args.insert(args.end(), c.extra.begin(), c.extra.end());
    const auto run = runCli(args);
    ASSERT_EQ(run.exitCode, 0) << c.name << ": " << run.err;
    EXPECT_EQ(readAudio(dir.file(c.name)).info.format, c.format) << c.name;
  }
}

TEST_F(RenderTest, StereoChannelsRunThroughIndependentInstances) {
  const auto left = testSignal(kFrames, 110.0, kRate, 0.3);
  const auto right = testSignal(kFrames, 330.0, kRate, 0.05);
  writeAudio(dir.file("stereo.wav"), {left, right}, kRate, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  writeAudio(dir.file("left.wav"), {left}, kRate, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  writeAudio(dir.file("right.wav"), {right}, kRate, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  for (const char* name : {"stereo", "left", "right"})
    ASSERT_EQ(runCli({"render", dir.file(std::string(name) + ".wav"),
                      dir.file(std::string(name) + "-out.wav"), "--preset", "bright-lead"})
                  .exitCode,
              0);
  const Audio stereo = readAudio(dir.file("stereo-out.wav"));
  ASSERT_EQ(stereo.info.channels, 2);
  EXPECT_EQ(stereo.channels[0], readAudio(dir.file("left-out.wav")).channels[0]);
  EXPECT_EQ(stereo.channels[1], readAudio(dir.file("right-out.wav")).channels[0]);
}

}  // namespace
