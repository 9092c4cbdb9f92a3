// Which libsndfile format an output file gets: the major format follows the
// file name's extension, the sample type follows the input unless the user
// asks for another.
#pragma once

#include <optional>
#include <string>

namespace veltrax::host {

enum class SampleType { float32, pcm16, pcm24 };

// "float", "pcm16", "pcm24"; nullopt for anything else.
std::optional<SampleType> parseSampleType(const std::string& name);

// The libsndfile major format (SF_FORMAT_WAV, ...) for the extension of
// `path`; throws HostError for an unknown or missing extension.
int majorFormatFor(const std::string& path);

// Complete format for writing `path`: the requested sample type, or the
// input's (`inputFormat`, a libsndfile format value) when the output format
// can hold it, else the best it can hold. Throws HostError when the request
// cannot be written in that format.
int outputFormatFor(const std::string& path, int inputFormat, std::optional<SampleType> requested,
                    int channels, int sampleRate);

// "WAV float", "FLAC pcm24" and the like.
std::string describeFormat(int format);

}  // namespace veltrax::host
