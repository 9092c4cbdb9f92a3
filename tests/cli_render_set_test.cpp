// `veltrax render -o DIR IN...` end to end: a set of files of different
// rates, lengths and channel counts through the multi-stream engine gives
// byte for byte the files the single-file form (the module through its
// record) gives with the same knobs, trims and pre-roll; finished outputs are skipped on a second
// run; a bad input fails alone with exit status 1.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/CliHarness.h"

using cli_test::fileBytes;
using cli_test::runCli;
using cli_test::ScratchDir;
using cli_test::testSignal;
using cli_test::writeAudio;
using testing::HasSubstr;

namespace {

struct SetFile {
  const char* name;
  int rate;
  size_t frames;
  int channels;
};

// Rates mixed so groups form per rate; lengths differ so lanes end early;
// more channels than one batch has lanes.
const SetFile kFiles[] = {{"a.wav", 44100, 30000, 1},  {"b.wav", 48000, 5000, 2},
                          {"c.flac", 44100, 70001, 2}, {"d.wav", 48000, 1, 1},
                          {"e.wav", 44100, 12345, 6},  {"f.aiff", 96000, 20000, 1}};

TEST(RenderSet, MatchesSingleFileRendersSkipsFinishedOutputsAndReportsFailures) {
  ScratchDir dir;
  const std::vector<std::string> settings = {"--preset", "doom",          "--input-gain",
                                             "3",        "--output-gain", "-2"};
  std::vector<std::string> args = {"render", "-o", dir.file("out"), "--jobs", "2"};
  args.insert(args.end(), settings.begin(), settings.end());
  for (const SetFile& f : kFiles) {
    std::vector<std::vector<double>> channels;
    for (int c = 0; c < f.channels; ++c)
      channels.push_back(testSignal(f.frames, 80.0 + 30 * c, f.rate, 0.3));
    const std::string ext = std::string(f.name).substr(std::string(f.name).find('.') + 1);
    const int major = ext == "flac"   ? SF_FORMAT_FLAC
                      : ext == "aiff" ? SF_FORMAT_AIFF
                                      : SF_FORMAT_WAV;
    writeAudio(dir.file(f.name), channels, f.rate, major | SF_FORMAT_PCM_24);
    args.push_back(dir.file(f.name));
  }
  args.push_back(dir.file("missing.wav"));

  const auto first = runCli(args);
  EXPECT_EQ(first.exitCode, 1);
  EXPECT_THAT(first.err, HasSubstr("missing.wav"));
  EXPECT_THAT(first.out, HasSubstr("7 files: 6 rendered, 0 skipped (output exists), 1 failed"));
  for (const SetFile& f : kFiles) {
    const std::string single = dir.file(std::string("single-") + f.name);
    std::vector<std::string> one = {"render", dir.file(f.name), single};
    one.insert(one.end(), settings.begin(), settings.end());
    ASSERT_EQ(runCli(one).exitCode, 0);
    EXPECT_EQ(fileBytes(dir.file("out/") + f.name), fileBytes(single)) << f.name;
  }

  args.pop_back();
  const auto again = runCli(args);
  EXPECT_EQ(again.exitCode, 0) << again.err;
  EXPECT_THAT(again.out, HasSubstr("6 files: 0 rendered, 6 skipped"));
}

}  // namespace
