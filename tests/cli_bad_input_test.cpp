// Every way `veltrax render` can be handed something it cannot do: one clear
// line on stderr, a non-zero exit, the input untouched and no output or
// temporary file left behind.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "support/CliHarness.h"

using cli_test::fileBytes;
using cli_test::runCli;
using cli_test::ScratchDir;
using cli_test::testSignal;
using cli_test::writeAudio;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class BadInputTest : public testing::Test {
 protected:
  void SetUp() override {
    writeAudio(in, {testSignal(20000, 110.0, 44100, 0.3)}, 44100, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    inputBytes = fileBytes(in);
  }

  // Runs, then checks the shape of the failure and that nothing was lost.
  void expectRefused(const std::vector<std::string>& args, int exitCode, const std::string& message,
                     const std::vector<std::string>& entriesAfter = {"in.wav"},
                     const cli_test::RunOptions& options = {}) {
    const auto run = runCli(args, options);
    EXPECT_EQ(run.exitCode, exitCode) << run.err;
    EXPECT_THAT(run.err, StartsWith("veltrax: error: "));
    EXPECT_THAT(run.err, HasSubstr(message));
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_EQ(fileBytes(in), inputBytes);
    EXPECT_EQ(dir.entries(), entriesAfter);
  }

  ScratchDir dir;
  std::string in = dir.file("in.wav");
  std::string out = dir.file("out.wav");
  std::string inputBytes;
};

TEST_F(BadInputTest, UnusableInputsAndSettings) {
  std::ofstream(dir.file("notes.txt")) << "not audio at all\n";
  ::mkdir(dir.file("folder.wav").c_str(), 0755);
  writeAudio(dir.file("slow.wav"), {testSignal(800, 110.0, 800, 0.3)}, 800,
             SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  ASSERT_EQ(::symlink(in.c_str(), dir.file("soft.wav").c_str()), 0);
  ASSERT_EQ(::link(in.c_str(), dir.file("hard.wav").c_str()), 0);
  const std::vector<std::string> extra{"folder.wav", "hard.wav", "in.wav",
                                       "notes.txt",  "slow.wav", "soft.wav"};
  const struct {
    std::vector<std::string> args;
    int exitCode;
    const char* message;
  } cases[] = {
      {{"render", dir.file("missing.wav"), out}, 1, "No such file"},
      {{"render", dir.file("notes.txt"), out}, 1, "cannot read"},
      {{"render", dir.file("folder.wav"), out}, 1, "is a directory"},
      {{"render", in, out, "--sustain", "1.5"}, 2, "--sustain 1.5 is outside 0..1"},
      {{"render", in, out, "--tone", "-0.1"}, 2, "--tone -0.1 is outside 0..1"},
      {{"render", in, out, "--scale", "10", "--volume", "11"}, 2, "--volume 11 is outside 0..10"},
      {{"render", in, out, "--volume", "nan"}, 2, "outside"},
      {{"render", in, out, "--scale", "5"}, 2, "--scale must be"},
      {{"render", in, out, "--preset", "loud"}, 2, "unknown preset \"loud\""},
      {{"render", in, out, "--subtype", "pcm8"}, 2, "unknown --subtype"},
      {{"render", in, out, "--block", "0"}, 2, "--block"},
      {{"render", in, out, "--bogus"}, 2, "bogus"},
      {{"render", in}, 2, "OUT"},
      {{"render", in, dir.file("out.xyz")}, 1, "cannot tell the output format"},
      {{"render", in, dir.file("out.flac"), "--subtype", "float"}, 1, "cannot write"},
      {{"render", in, dir.file("no/such/dir/out.wav")}, 1, "no/such/dir"},
      {{"render", in, dir.file("notes.txt/out.wav")}, 1, "not a directory"},
      {{"render", in, out, "--module", dir.file("nothing.so")}, 1, "cannot load module"},
      {{"render", in, out, "--module", dir.file("notes.txt")}, 1, "cannot load module"},
      {{"render", dir.file("slow.wav"), out}, 1, "800 Hz"},
      {{"render", in, out, "--normalize", "3"}, 2, "--normalize must be"},
      {{"render", in, out, "--output-gain", "200"}, 2, "--output-gain must be"},
      {{"render", in, out, "--voicing-rate", "100"}, 2, "--voicing-rate must be"},
      {{"render", in, out, "--raw-input", "44100"}, 2, "--raw-input RATE:CHANNELS:SUBTYPE"},
      {{"render", in, "-"}, 2, "give --format"},
      {{"render", "-", out}, 1, "standard input is empty"},
      // The output is the input, through any name.
      {{"render", in, in, "--force"}, 1, "is the input file"},
      {{"render", in, dir.file("./in.wav"), "--force"}, 1, "is the input file"},
      {{"render", in, dir.file("soft.wav"), "--force"}, 1, "is the input file"},
      {{"render", in, dir.file("hard.wav"), "--force"}, 1, "is the input file"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.args));
    expectRefused(c.args, c.exitCode, c.message, extra);
  }
}

// An existing output survives a render without --force and one that fills
// the disk; --force replaces it.
TEST_F(BadInputTest, ExistingOutputIsKeptUnlessForcedAndNotLostToAFullDisk) {
  const std::vector<std::string> entries{"in.wav", "out.wav"};
  std::ofstream(out) << "keep me";
  expectRefused({"render", in, out}, 1, "exists (use --force", entries);
  cli_test::RunOptions limited;
  limited.fileSizeLimit = 4096;  // the output needs about 40 kB
  expectRefused({"render", in, out, "--force"}, 1, "cannot write " + out + ": File too large",
                entries, limited);
  EXPECT_EQ(fileBytes(out), "keep me");
  const auto forced = runCli({"render", in, out, "--force"});
  EXPECT_EQ(forced.exitCode, 0) << forced.err;
  EXPECT_NE(fileBytes(out), "keep me");
  EXPECT_EQ(dir.entries(), entries);
}

TEST_F(BadInputTest, InterruptedRenderLeavesNoTemporaryFile) {
  // Long enough, in one-sample blocks, to be caught while writing even when
  // the test itself is descheduled for a while (several seconds of work).
  writeAudio(in, {testSignal(240 * 44100, 110.0, 44100, 0.3)}, 44100,
             SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  std::ofstream(out) << "keep me";
  cli_test::RunningCli render({"render", in, out, "--force", "--block", "1"});
  bool writing = false;
  for (int wait = 0; wait < 5000 && !writing; ++wait) {
    for (const auto& name : dir.entries()) writing |= name.rfind(".out.wav.", 0) == 0;
    if (!writing) ::usleep(1000);
  }
  ASSERT_TRUE(writing) << "no temporary file appeared";
  ::kill(render.pid(), SIGINT);
  const auto run = render.wait();
  EXPECT_EQ(run.exitCode, 128 + SIGINT);
  EXPECT_EQ(fileBytes(out), "keep me");
  EXPECT_EQ(dir.entries(), (std::vector<std::string>{"in.wav", "out.wav"}));
}

}  // namespace
