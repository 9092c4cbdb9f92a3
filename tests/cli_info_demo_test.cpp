// `veltrax info`, `veltrax demo` and the help texts, end to end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/CliHarness.h"

using cli_test::fileBytes;
using cli_test::readAudio;
using cli_test::runCli;
using cli_test::ScratchDir;
using testing::ContainsRegex;
using testing::HasSubstr;

namespace {

const char* const kPresets[] = {"light-crunch", "classic-fuzz", "doom", "bright-lead", "dark-wall"};

TEST(CliInfo, ReportsTheIdentityReadThroughTheInterface) {
  const auto run = runCli({"info"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  for (const char* expected :
       {"effect name   VELTRAX", "product       VELTRAX", "vendor ver.   1000",
        "unique ID     'MJCM' (0x4D4A434D)", "category      1 (effect)", "1 in, 1 out",
        "double replacing", "getinterface yes, QTypeIF yes",
        "programs      16, current 0 \"Init 1\"", "header version 1"})
    EXPECT_THAT(run.out, HasSubstr(expected));
  EXPECT_THAT(run.out, ContainsRegex("0 +On/Off +1\\.000 +on +- +switch"));
  // Program names as the module answers each query: as the current program
  // (numbered) and by index.
  for (const char* expected : {"0 \"Init 1\" / \"Init\"", "15 \"Init 16\" / \"Init\""})
    EXPECT_THAT(run.out, HasSubstr(expected));
  for (const char* name : {"volume", "tone", "sustain"})
    EXPECT_THAT(run.out, ContainsRegex(std::string("[1-3] +") + name +
                                       " +0\\.500 +5\\.00 +- +float step 0\\.01"));
}

TEST(CliInfo, ModuleComesFromOptionBeforeEnvironment) {
  cli_test::RunOptions broken;
  broken.environment = {"VELTRAX_MODULE=/nonexistent/veltrax.so"};
  EXPECT_EQ(runCli({"info"}, broken).exitCode, 1);
  EXPECT_EQ(runCli({"info", "--module", VELTRAX_MODULE_PATH}, broken).exitCode, 0);
}

TEST(CliHelp, ExplainsTheCommandsAndListsThePresets) {
  const auto top = runCli({"--help"});
  EXPECT_EQ(top.exitCode, 0);
  for (const char* command : {"render", "demo", "info", "plot"})
    EXPECT_THAT(top.out, HasSubstr(command));
  const auto render = runCli({"render", "--help"});
  EXPECT_EQ(render.exitCode, 0);
  for (const char* preset : kPresets) EXPECT_THAT(render.out, HasSubstr(preset));
  const auto version = runCli({"--version"});
  EXPECT_EQ(version.exitCode, 0);
  EXPECT_THAT(version.out, ContainsRegex("^veltrax [0-9]+\\.[0-9]+\\.[0-9]+\n$"));
  const auto none = runCli({});
  EXPECT_EQ(none.exitCode, 2);
  EXPECT_THAT(none.err, HasSubstr("veltrax: error:"));
}

TEST(CliDemo, WritesTheRendersFiguresAndASummary) {
  ScratchDir dir;
  const std::string out = dir.file("demo");
  const auto run = runCli({"demo", out});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  const auto dry = readAudio(out + "/dry.wav");  // the riff itself: cli_signal_analysis_test
  for (const char* preset : kPresets) {
    SCOPED_TRACE(preset);
    EXPECT_THAT(run.out, HasSubstr(preset));
    const auto rendered = readAudio(out + "/" + preset + ".wav");
    EXPECT_EQ(rendered.info.frames, dry.info.frames);
    EXPECT_NE(rendered.channels, dry.channels);
  }
  for (const char* figure :
       {"tone_response", "level_curves", "riff_spectrum", "rate_response", "riff_levels"}) {
    SCOPED_TRACE(figure);
    EXPECT_EQ(fileBytes(out + "/" + figure + ".png").substr(0, 8), "\x89PNG\r\n\x1a\n");
    EXPECT_THAT(fileBytes(out + "/" + figure + ".csv"), HasSubstr("\n"));
  }
  // A directory with files in it is replaced only with --force; the riff
  // is the same on every run.
  const std::string doom = fileBytes(out + "/doom.wav");
  const auto refused = runCli({"demo", out});
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_THAT(refused.err, HasSubstr("is not empty (use --force"));
  ASSERT_EQ(runCli({"demo", out, "--force"}).exitCode, 0);
  EXPECT_EQ(fileBytes(out + "/doom.wav"), doom);
}

}  // namespace
