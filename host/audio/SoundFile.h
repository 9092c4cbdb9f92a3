// libsndfile behind two small RAII classes that turn every failure into a
// HostError naming the file.
#pragma once

#include <sndfile.h>

#include <cstddef>
#include <string>

namespace veltrax::host {

class SoundFileReader {
 public:
  // `rawLayout` (rate, channels, SF_FORMAT_RAW | subtype) reads headerless
  // audio; null reads the format from the file's header. `name` names the
  // file in messages (default: `path`).
  explicit SoundFileReader(const std::string& path, const SF_INFO* rawLayout = nullptr,
                           const std::string& name = {});
  ~SoundFileReader();
  SoundFileReader(const SoundFileReader&) = delete;
  SoundFileReader& operator=(const SoundFileReader&) = delete;

  const SF_INFO& info() const { return info_; }
  // Back to the first frame (a second pass over the input).
  void rewind();
  // Reads up to `frames` interleaved frames; returns how many were read
  // (0 at the end). Throws on a read error.
  size_t read(double* interleaved, size_t frames);

 private:
  std::string path_;
  SF_INFO info_{};
  SNDFILE* file_ = nullptr;
};

class SoundFileWriter {
 public:
  // Writes to the open descriptor `fd` (left open on close); `path` only
  // names the file in messages. PCM subtypes clip instead of wrapping.
  SoundFileWriter(int fd, const std::string& path, int format, int channels, int sampleRate);
  ~SoundFileWriter();
  SoundFileWriter(const SoundFileWriter&) = delete;
  SoundFileWriter& operator=(const SoundFileWriter&) = delete;

  // Throws when fewer frames than given reach the file (a full disk, a file
  // size limit).
  void write(const double* interleaved, size_t frames);
  // Finishes the header; throws if that fails.
  void close();

 private:
  std::string path_;
  SNDFILE* file_ = nullptr;
};

}  // namespace veltrax::host
