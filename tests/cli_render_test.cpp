// `veltrax render` end to end: the built binary with the built module, on
// files generated here.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <fstream>

#include "host/common/Levels.h"
#include "support/CliHarness.h"

using cli_test::Audio;
using cli_test::readAudio;
using cli_test::runCli;
using cli_test::ScratchDir;
using cli_test::testSignal;
using cli_test::writeAudio;
using testing::HasSubstr;
using veltrax::host::peakOf;
using veltrax::host::rmsOf;
using veltrax::host::toDb;

namespace {

constexpr int kRate = 44100;
constexpr size_t kFrames = 30000;  // not a multiple of any block length used

class RenderTest : public testing::Test {
 protected:
  void SetUp() override {
    writeAudio(in, {testSignal(kFrames, 110.0, kRate, 0.3)}, kRate,
               SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  }
  ScratchDir dir;
  std::string in = dir.file("in.wav");
  std::string out = dir.file("out.wav");
};

TEST_F(RenderTest, KnobsAgreeAcrossScalesAndPresets) {
  // Doom is sustain 1.0, tone 0.15, volume 0.89.
  const std::string a = dir.file("a.wav"), b = dir.file("b.wav"), c = dir.file("c.wav");
  ASSERT_EQ(runCli({"render", in, a, "--preset", "doom"}).exitCode, 0);
  ASSERT_EQ(
      runCli({"render", in, b, "--sustain", "1", "--tone", "0.15", "--volume", "0.89"}).exitCode,
      0);
  ASSERT_EQ(runCli({"render", in, c, "--scale", "10", "--sustain", "10", "--tone", "1.5",
                    "--volume", "8.9"})
                .exitCode,
            0);
  EXPECT_EQ(readAudio(a).channels, readAudio(b).channels);
  EXPECT_EQ(readAudio(a).channels, readAudio(c).channels);
  // An explicit knob overrides the preset's.
  ASSERT_EQ(runCli({"render", in, b, "--preset", "doom", "--volume", "0.2", "--force"}).exitCode,
            0);
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
      {"out32.wav", {"--subtype", "pcm32"}, SF_FORMAT_WAV | SF_FORMAT_PCM_32},
      {"out64.wav", {"--subtype", "double"}, SF_FORMAT_WAV | SF_FORMAT_DOUBLE},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args{"render", in, dir.file(c.name)};
    args.insert(args.end(), c.extra.begin(), c.extra.end());
    const auto run = runCli(args);
    ASSERT_EQ(run.exitCode, 0) << c.name << ": " << run.err;
    EXPECT_EQ(readAudio(dir.file(c.name)).info.format, c.format) << c.name;
  }
}

// MP3 and Opus are written when this libsndfile can (the help says which);
// a lossy input written to a PCM container becomes 24-bit PCM, and the
// summary says so.
TEST_F(RenderTest, LossyFormatsInAndOut) {
  const std::string in48 = dir.file("in48.wav");
  writeAudio(in48, {testSignal(24000, 110.0, 48000, 0.3)}, 48000, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  const std::string help = runCli({"render", "--help"}).out;
  for (const auto& [name, format] :
       {std::pair{"out.mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III},
        std::pair{"out.opus", SF_FORMAT_OGG | SF_FORMAT_OPUS}}) {
    SF_INFO probe{0, 48000, 1, format, 0, 0};  // frames, rate, channels, format, ...
    const auto run = runCli({"render", in48, dir.file(name)});
    if (sf_format_check(&probe) == 0) {
      EXPECT_EQ(run.exitCode, 1) << name;
      EXPECT_THAT(help, HasSubstr("not supported by this libsndfile")) << name;
      continue;
    }
    ASSERT_EQ(run.exitCode, 0) << name << ": " << run.err;
    const Audio result = readAudio(dir.file(name));
    EXPECT_EQ(result.info.format & SF_FORMAT_TYPEMASK, format & SF_FORMAT_TYPEMASK) << name;
    EXPECT_EQ(result.info.samplerate, 48000) << name;
  }
  const std::string vorbis = dir.file("in.ogg");
  writeAudio(vorbis, {testSignal(24000, 110.0, 48000, 0.3)}, 48000,
             SF_FORMAT_OGG | SF_FORMAT_VORBIS);
  const auto run = runCli({"render", vorbis, out});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(readAudio(out).info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_24);
  EXPECT_THAT(run.out, HasSubstr("WAV pcm24 (default for a lossy input)"));
}

// The trims scale around the effect: the output trim is a plain gain
// 10^(dB/20) on the rendered samples, the input trim drives the pedal.
// --normalize sets the output peak and so never clips, even where the trims
// alone would.
TEST_F(RenderTest, TrimsAndNormalizeSetTheLevel) {
  const std::string plain = dir.file("plain.wav"), trimmed = dir.file("trimmed.wav");
  ASSERT_EQ(runCli({"render", in, plain, "--preset", "classic-fuzz"}).exitCode, 0);
  ASSERT_EQ(
      runCli({"render", in, trimmed, "--preset", "classic-fuzz", "--output-gain", "-6"}).exitCode,
      0);
  const auto y = readAudio(plain).channels[0], quieter = readAudio(trimmed).channels[0];
  ASSERT_EQ(quieter.size(), y.size());
  for (size_t i = 0; i < y.size(); ++i)
    ASSERT_NEAR(quieter[i], y[i] * std::pow(10.0, -6.0 / 20.0), 1e-6 * std::fabs(y[i]) + 1e-9) << i;

  // The input trim acts before the saturating pedal: 40 dB less input is
  // far less than 40 dB less output.
  const std::string softer = dir.file("softer.wav");
  ASSERT_EQ(
      runCli({"render", in, softer, "--preset", "classic-fuzz", "--input-gain", "-40"}).exitCode,
      0);
  const auto softerY = readAudio(softer).channels[0];
  const double drop = toDb(rmsOf(y.data(), y.size()) / rmsOf(softerY.data(), softerY.size()));
  EXPECT_GT(drop, 1.0);
  EXPECT_LT(drop, 20.0);

  const struct {
    std::vector<std::string> extra;
    double peakDbfs;
  } normalized[] = {{{"--normalize", "-1"}, -1.0},
                    {{"--normalize", "0", "--output-gain", "40", "--subtype", "pcm16"}, 0.0},
                    {{"--normalize", "-12", "--voicing-rate", "48000"}, -12.0}};
  for (const auto& n : normalized) {
    std::vector<std::string> args{"render", in, out, "--force", "--preset", "doom"};
    args.insert(args.end(), n.extra.begin(), n.extra.end());
    const auto run = runCli(args);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.out, testing::Not(HasSubstr("clipped")));
    const auto rendered = readAudio(out).channels[0];
    EXPECT_NEAR(toDb(peakOf(rendered.data(), rendered.size())), n.peakDbfs, 0.01) << n.extra[1];
  }
}

// The block length never shows: --off passes the input through bit for bit,
// and the default pre-roll settles the knob ramps before the first sample,
// so the effect's output is the same at any block length; without it the
// first block's ramps show.
TEST_F(RenderTest, BlockLengthNeverShowsWithThePrerollOrOff) {
  std::vector<std::vector<double>> renders;
  for (const std::vector<std::string>& extra : {std::vector<std::string>{"--block", "64"},
                                                {"--block", "512"},
                                                {"--block", "4097"},
                                                {"--block", "64", "--no-preroll"},
                                                {"--block", "512", "--no-preroll"},
                                                {"--block", "1", "--off"},
                                                {"--block", "4097", "--off"}}) {
    std::vector<std::string> args{"render", in, out, "--force", "--preset", "doom"};
    args.insert(args.end(), extra.begin(), extra.end());
    ASSERT_EQ(runCli(args).exitCode, 0);
    renders.push_back(readAudio(out).channels[0]);
  }
  EXPECT_EQ(renders[0], renders[1]);
  EXPECT_EQ(renders[0], renders[2]);
  EXPECT_NE(renders[3], renders[4]);
  EXPECT_NE(renders[1], renders[4]);
  for (size_t off : {5, 6}) EXPECT_EQ(renders[off], readAudio(in).channels[0]);

  // PCM in, PCM out: the same integers come back.
  const std::string pcm = dir.file("pcm.wav"), pcmOut = dir.file("pcm-out.wav");
  writeAudio(pcm, {testSignal(kFrames, 220.0, kRate, 0.5)}, kRate,
             SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  ASSERT_EQ(runCli({"render", pcm, pcmOut, "--off"}).exitCode, 0);
  const Audio result = readAudio(pcmOut);
  EXPECT_EQ(result.info.format, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  EXPECT_EQ(result.channels, readAudio(pcm).channels);
}

// `-` reads standard input and writes standard output; the file that comes
// out is the one a render between files gives.
TEST_F(RenderTest, StandardInputAndOutput) {
  ASSERT_EQ(runCli({"render", in, out, "--preset", "doom"}).exitCode, 0);
  cli_test::RunOptions piped;
  piped.standardInput = in;
  const auto run = runCli({"render", "-", "-", "--format", "wav", "--preset", "doom"}, piped);
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.err, HasSubstr("real-time")) << "the summary goes to stderr";
  const std::string copy = dir.file("copy.wav");
  std::ofstream(copy, std::ios::binary) << run.out;
  EXPECT_EQ(readAudio(copy).channels, readAudio(out).channels);

  // Headerless audio: written with --format raw, read back only with its
  // layout spelled out.
  const auto raw =
      runCli({"render", in, "-", "--format", "raw", "--subtype", "float", "--preset", "doom"});
  ASSERT_EQ(raw.exitCode, 0) << raw.err;
  ASSERT_EQ(raw.out.size(), kFrames * sizeof(float));
  const std::string rawFile = dir.file("doom.raw"), back = dir.file("back.wav");
  std::ofstream(rawFile, std::ios::binary) << raw.out;
  piped.standardInput = rawFile;
  const auto unknown = runCli({"render", "-", back}, piped);
  EXPECT_EQ(unknown.exitCode, 1);
  EXPECT_THAT(unknown.err, HasSubstr("--raw-input"));
  ASSERT_EQ(runCli({"render", "-", back, "--raw-input", "44100:1:float", "--off"}, piped).exitCode,
            0);
  EXPECT_EQ(readAudio(back).channels, readAudio(out).channels);
}

// --voicing-rate renders at a fixed rate between two conversions: a 96 kHz
// file then sounds like the 48 kHz render of the same audio, band by band
// (octaves of the 110 Hz note's harmonics, within 0.1 dB), where the plain
// 96 kHz render is far brighter.
TEST(RenderVoicing, A96kHzFileVoicedAt48kHzSoundsLikeThe48kHzRender) {
  ScratchDir dir;
  const auto render = [&](int rate, const std::vector<std::string>& extra) {
    const std::string in = dir.file("in" + std::to_string(rate) + ".wav"),
                      out = dir.file("out.wav");
    writeAudio(in, {testSignal(static_cast<size_t>(rate), 110.0, rate, 0.5)}, rate,
               SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    std::vector<std::string> args{"render", in, out, "--force", "--preset", "bright-lead"};
    args.insert(args.end(), extra.begin(), extra.end());
    const auto run = runCli(args);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return readAudio(out).channels[0];
  };
  // Power of the harmonics of 110 Hz in each octave from 110 Hz, in dB, from
  // one Hann-windowed DFT bin per harmonic.
  const auto octaveBands = [](const std::vector<double>& x, double rate) {
    std::vector<double> bands(7, 0.0);
    for (int h = 1; 110.0 * h < 110.0 * 128; ++h) {
      std::complex<double> sum = 0.0;
      for (size_t n = 0; n < x.size(); ++n) {
        const double w = 0.5 - 0.5 * std::cos(2.0 * M_PI * n / x.size());
        sum += w * x[n] * std::polar(1.0, -2.0 * M_PI * 110.0 * h * n / rate);
      }
      bands[static_cast<size_t>(std::log2(h))] += std::norm(sum);
    }
    for (double& b : bands) b = 10.0 * std::log10(b / (x.size() * x.size()));
    return bands;
  };
  const auto at48 = octaveBands(render(48000, {}), 48000);
  const auto voiced = octaveBands(render(96000, {"--voicing-rate", "48000"}), 96000);
  const auto plain = octaveBands(render(96000, {}), 96000);
  for (size_t b = 0; b < at48.size(); ++b)
    EXPECT_NEAR(voiced[b], at48[b], 0.1) << "octave from " << 110 * (1 << b) << " Hz";
  EXPECT_GT(plain.back() - at48.back(), 6.0)
      << "the plain 96 kHz render must differ to be told apart";
}

// The output keeps the input's length, channels, rate and sample type, and
// each channel runs through its own instance: a stereo render is the two
// mono renders side by side.
TEST_F(RenderTest, KeepsTheFileShapeAndRendersEachChannelOnItsOwn) {
  const auto left = testSignal(kFrames, 110.0, kRate, 0.3);
  const auto right = testSignal(kFrames, 330.0, kRate, 0.05);
  writeAudio(dir.file("stereo.wav"), {left, right}, kRate, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  writeAudio(dir.file("left.wav"), {left}, kRate, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  writeAudio(dir.file("right.wav"), {right}, kRate, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  for (const std::string name : {"stereo", "left", "right"}) {
    const auto run = runCli({"render", dir.file(name + ".wav"), dir.file(name + "-out.wav"),
                             "--preset", "bright-lead"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("real-time"));
    EXPECT_THAT(run.out, HasSubstr("dBFS"));
  }
  const Audio stereo = readAudio(dir.file("stereo-out.wav"));
  EXPECT_EQ(stereo.info.frames, static_cast<sf_count_t>(kFrames));
  EXPECT_EQ(stereo.info.samplerate, kRate);
  EXPECT_EQ(stereo.info.format, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
  ASSERT_EQ(stereo.info.channels, 2);
  EXPECT_EQ(stereo.channels[0], readAudio(dir.file("left-out.wav")).channels[0]);
  EXPECT_EQ(stereo.channels[1], readAudio(dir.file("right-out.wav")).channels[0]);
  EXPECT_GT(peakOf(stereo.channels[1].data(), kFrames), 0.01) << "the pedal's sound, not silence";
  EXPECT_NE(stereo.channels[1], right);
}

}  // namespace
