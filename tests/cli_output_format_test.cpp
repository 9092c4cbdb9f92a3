// Which file format `veltrax render` writes for an output name and input.
#include <gtest/gtest.h>
#include <sndfile.h>

#include "host/audio/OutputFormat.h"
#include "host/common/HostError.h"

using namespace veltrax::host;

namespace {

constexpr int kWavPcm16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
constexpr int kWavFloat = SF_FORMAT_WAV | SF_FORMAT_FLOAT;

TEST(OutputFormat, FollowsTheExtensionAndKeepsTheInputSampleTypeWhenItFits) {
  const struct {
    const char* path;
    int input;
    std::optional<SampleType> requested;
    int expected;
  } cases[] = {
      {"x.wav", kWavPcm16, {}, kWavPcm16},
      {"dir.d/X.WAV", kWavFloat, {}, kWavFloat},
      {"x.flac", kWavPcm16, {}, SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
      {"x.flac", kWavFloat, {}, SF_FORMAT_FLAC | SF_FORMAT_PCM_24},
      {"x.aif", kWavFloat, {}, SF_FORMAT_AIFF | SF_FORMAT_FLOAT},
      {"x.aiff", kWavPcm16, SampleType::pcm24, SF_FORMAT_AIFF | SF_FORMAT_PCM_24},
      {"x.ogg", kWavPcm16, {}, SF_FORMAT_OGG | SF_FORMAT_VORBIS},
      {"x.wav", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, SampleType::float32, kWavFloat},
  };
  for (const auto& c : cases)
    EXPECT_EQ(outputFormatFor(c.path, c.input, c.requested, 2, 44100), c.expected) << c.path;
}

TEST(OutputFormat, RefusesWhatCannotBeWritten) {
  for (const char* path : {"x", "x.", "x.xyz", "wav", "dir.wav/x"})
    EXPECT_THROW(majorFormatFor(path), HostError) << path;
  EXPECT_THROW(outputFormatFor("x.flac", kWavPcm16, SampleType::float32, 1, 44100), HostError);
  EXPECT_EQ(parseSampleType("pcm24"), SampleType::pcm24);
  EXPECT_FALSE(parseSampleType("PCM24"));
}

TEST(OutputFormat, DescribesFormatsForTheSummary) {
  EXPECT_EQ(describeFormat(kWavFloat), "WAV float");
  EXPECT_EQ(describeFormat(SF_FORMAT_FLAC | SF_FORMAT_PCM_24), "FLAC pcm24");
}

}  // namespace
