// Which libsndfile format an output file gets: the major format follows the
// file name's extension, the sample type follows the input unless the user
// asks for another.
#pragma once

#include <optional>
#include <string>

namespace veltrax::host {

enum class SampleType { float32, float64, pcm16, pcm24, pcm32 };

// "float", "double", "pcm16", "pcm24", "pcm32"; nullopt for anything else.
std::optional<SampleType> parseSampleType(const std::string& name);

// The libsndfile subtype (SF_FORMAT_FLOAT, ...) of a sample type.
int subtypeOf(SampleType type);

// The libsndfile major format (SF_FORMAT_WAV, ...) for the extension of
// `path` (.mp3 is MPEG, .opus is Ogg); throws HostError for an unknown or
// missing extension.
int majorFormatFor(const std::string& path);

// Complete format for writing `path`: the requested sample type, or the
// input's (`inputFormat`, a libsndfile format value) when the output format
// can hold it, else the best it can hold; a lossy input (Vorbis, Opus, MPEG)
// gets 24-bit PCM where the container holds it. .opus is Opus, .mp3 MPEG
// layer III. Throws HostError when the request cannot be written.
int outputFormatFor(const std::string& path, int inputFormat, std::optional<SampleType> requested,
                    int channels, int sampleRate);

// Whether `format`'s sample type loses information on encoding.
bool isLossy(int format);

// One sentence for the help: which of .mp3 and .opus this libsndfile writes.
std::string lossyOutputSupport();

// "WAV float", "FLAC pcm24" and the like.
std::string describeFormat(int format);

}  // namespace veltrax::host
