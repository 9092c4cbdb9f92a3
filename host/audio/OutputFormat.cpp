#include "host/audio/OutputFormat.h"

#include <sndfile.h>

#include <algorithm>
#include <cctype>
#include <vector>

#include "host/common/HostError.h"

namespace veltrax::host {
namespace {

std::string lowerExtension(const std::string& path) {
  const auto slash = path.find_last_of('/');
  const auto dot = path.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return {};
  std::string extension = path.substr(dot + 1);
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

bool writable(int format, int channels, int sampleRate) {
  SF_INFO info{};
  info.format = format;
  info.channels = channels;
  info.samplerate = sampleRate;
  return sf_format_check(&info) != 0;
}

}  // namespace

int subtypeOf(SampleType type) {
  switch (type) {
    case SampleType::float32:
      return SF_FORMAT_FLOAT;
    case SampleType::float64:
      return SF_FORMAT_DOUBLE;
    case SampleType::pcm16:
      return SF_FORMAT_PCM_16;
    case SampleType::pcm24:
      return SF_FORMAT_PCM_24;
    case SampleType::pcm32:
      return SF_FORMAT_PCM_32;
  }
  return SF_FORMAT_FLOAT;
}

std::optional<SampleType> parseSampleType(const std::string& name) {
  if (name == "float") return SampleType::float32;
  if (name == "pcm16") return SampleType::pcm16;
  if (name == "pcm24") return SampleType::pcm24;
  if (name == "double") return SampleType::float64;
  if (name == "pcm32") return SampleType::pcm32;
  return std::nullopt;
}

int majorFormatFor(const std::string& path) {
  std::string extension = lowerExtension(path);
  // Common spellings that libsndfile lists under another extension.
  if (extension == "aif") extension = "aiff";
  if (extension == "wave") extension = "wav";
  if (extension == "ogg" || extension == "opus") extension = "oga";
  if (extension == "mp3") extension = "m1a";
  if (!extension.empty()) {
    int count = 0;
    sf_command(nullptr, SFC_GET_FORMAT_MAJOR_COUNT, &count, sizeof count);
    for (int i = 0; i < count; ++i) {
      SF_FORMAT_INFO info{};
      info.format = i;
      sf_command(nullptr, SFC_GET_FORMAT_MAJOR, &info, sizeof info);
      if (info.extension && extension == info.extension) return info.format;
    }
  }
  throw HostError("cannot tell the output format from the name " + path +
                  " (use an extension such as .wav, .flac or .aiff)");
}

int outputFormatFor(const std::string& path, int inputFormat, std::optional<SampleType> requested,
                    int channels, int sampleRate) {
  const int major = majorFormatFor(path);
  if (requested) {
    const int format = major | subtypeOf(*requested);
    if (!writable(format, channels, sampleRate))
      throw HostError("cannot write " + describeFormat(format) + " with " +
                      std::to_string(channels) + " channel(s) at " + std::to_string(sampleRate) +
                      " Hz to " + path);
    return format;
  }
  const std::string extension = lowerExtension(path);
  std::vector<int> candidates;
  if (extension == "opus") {
    candidates = {SF_FORMAT_OPUS};
  } else if (major == SF_FORMAT_MPEG) {
    candidates = {SF_FORMAT_MPEG_LAYER_III};
  } else if (isLossy(inputFormat)) {
    // Decoded lossy audio has no sample type of its own worth keeping.
    candidates = {SF_FORMAT_PCM_24, SF_FORMAT_FLOAT, SF_FORMAT_PCM_16, SF_FORMAT_VORBIS};
  } else {
    candidates = {inputFormat & SF_FORMAT_SUBMASK, SF_FORMAT_FLOAT, SF_FORMAT_PCM_24,
                  SF_FORMAT_PCM_16, SF_FORMAT_VORBIS};
  }
  for (int subtype : candidates)
    if (writable(major | subtype, channels, sampleRate)) return major | subtype;
  throw HostError("cannot write " + std::to_string(channels) + " channel(s) at " +
                  std::to_string(sampleRate) + " Hz to " + path);
}

bool isLossy(int format) {
  switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_VORBIS:
    case SF_FORMAT_OPUS:
    case SF_FORMAT_MPEG_LAYER_I:
    case SF_FORMAT_MPEG_LAYER_II:
    case SF_FORMAT_MPEG_LAYER_III:
      return true;
    default:
      return false;
  }
}

std::string lossyOutputSupport() {
  const struct {
    const char* what;
    int format;
  } lossy[] = {{".mp3 (MPEG layer III)", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III},
               {".opus (Opus in Ogg, 8/12/16/24/48 kHz)", SF_FORMAT_OGG | SF_FORMAT_OPUS}};
  std::string text;
  for (const auto& l : lossy)
    text += std::string(text.empty() ? "" : "; ") + l.what +
            (writable(l.format, 1, 48000) ? " is written" : " is not supported by this libsndfile");
  return text;
}

std::string describeFormat(int format) {
  SF_FORMAT_INFO major{};
  major.format = format & SF_FORMAT_TYPEMASK;
  const bool haveMajor = sf_command(nullptr, SFC_GET_FORMAT_INFO, &major, sizeof major) == 0;
  std::string subtype;
  switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_FLOAT:
      subtype = "float";
      break;
    case SF_FORMAT_DOUBLE:
      subtype = "double";
      break;
    case SF_FORMAT_PCM_16:
      subtype = "pcm16";
      break;
    case SF_FORMAT_PCM_24:
      subtype = "pcm24";
      break;
    case SF_FORMAT_PCM_32:
      subtype = "pcm32";
      break;
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
      subtype = "pcm8";
      break;
    default: {
      SF_FORMAT_INFO info{};
      info.format = format & SF_FORMAT_SUBMASK;
      subtype = sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info) == 0 && info.name
                    ? info.name
                    : "other";
    }
  }
  std::string name = haveMajor && major.extension ? major.extension : "audio";
  if ((format & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG) name = "mp3";
  if ((format & SF_FORMAT_TYPEMASK) == SF_FORMAT_OGG) name = "ogg";
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return name + " " + subtype;
}

}  // namespace veltrax::host
