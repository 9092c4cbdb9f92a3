#include "host/audio/SoundFile.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "host/common/HostError.h"

namespace veltrax::host {

SoundFileReader::SoundFileReader(const std::string& path, const SF_INFO* rawLayout,
                                 const std::string& name)
    : path_(name.empty() ? path : name) {
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0)
    throw HostError("cannot open input " + path_ + ": " + std::strerror(errno));
  if (S_ISDIR(st.st_mode)) throw HostError("cannot open input " + path_ + ": is a directory");
  if (rawLayout) info_ = *rawLayout;
  file_ = sf_open(path.c_str(), SFM_READ, &info_);
  if (!file_)
    throw HostError(
        "cannot read " + path_ + " as audio: " + sf_strerror(nullptr) +
        (rawLayout ? "" : " (headerless audio needs --raw-input RATE:CHANNELS:SUBTYPE)"));
  if (info_.channels < 1 || info_.samplerate < 1) {
    sf_close(file_);
    file_ = nullptr;
    throw HostError("cannot read " + path_ + " as audio: no channels or no sample rate");
  }
}

SoundFileReader::~SoundFileReader() {
  if (file_) sf_close(file_);
}

void SoundFileReader::rewind() {
  if (sf_seek(file_, 0, SEEK_SET) != 0) throw HostError("cannot read " + path_ + " again");
}

size_t SoundFileReader::read(double* interleaved, size_t frames) {
  const sf_count_t got = sf_readf_double(file_, interleaved, static_cast<sf_count_t>(frames));
  if (got < 0 || (got == 0 && sf_error(file_) != SF_ERR_NO_ERROR))
    throw HostError("error reading " + path_ + ": " + sf_strerror(file_));
  return static_cast<size_t>(got);
}

SoundFileWriter::SoundFileWriter(int fd, const std::string& path, int format, int channels,
                                 int sampleRate)
    : path_(path) {
  SF_INFO info{};
  info.format = format;
  info.channels = channels;
  info.samplerate = sampleRate;
  file_ = sf_open_fd(fd, SFM_WRITE, &info, SF_FALSE);
  if (!file_) throw HostError("cannot write " + path + ": " + sf_strerror(nullptr));
  sf_command(file_, SFC_SET_CLIPPING, nullptr, SF_TRUE);
}

SoundFileWriter::~SoundFileWriter() {
  if (file_) sf_close(file_);
}

void SoundFileWriter::write(const double* interleaved, size_t frames) {
  errno = 0;
  const sf_count_t put = sf_writef_double(file_, interleaved, static_cast<sf_count_t>(frames));
  if (put != static_cast<sf_count_t>(frames)) {
    const int error = errno;
    throw HostError("cannot write " + path_ + ": " +
                    (error ? std::strerror(error) : sf_strerror(file_)));
  }
}

void SoundFileWriter::close() {
  SNDFILE* file = file_;
  file_ = nullptr;
  errno = 0;
  if (sf_close(file) != 0) {
    const int error = errno;
    throw HostError("cannot finish " + path_ + ": " +
                    (error ? std::strerror(error) : "the header could not be written"));
  }
}

}  // namespace veltrax::host
