// `-` as a render's input or output. Standard input is copied into a
// temporary file before anything reads it (libsndfile seeks in most formats,
// and a normalizing render reads its input twice); a render to standard
// output goes to a temporary file that reaches standard output only when
// complete, so a failed render writes nothing there. The temporary files
// live in $TMPDIR (else /tmp) and are removed at the end, also on interrupt.
#pragma once

#include <string>

namespace veltrax::host {

// The name the command line uses for standard input and output.
inline constexpr const char* kStandardStream = "-";
inline bool isStandardStream(const std::string& path) { return path == kStandardStream; }

class TemporaryFile {
 public:
  // Creates an empty private file; throws HostError when it cannot.
  TemporaryFile();
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::string& path() const { return path_; }
  int fd() const { return fd_; }

 private:
  std::string path_;
  int fd_ = -1;
  int pendingSlot_ = -1;
};

// Standard input, read to its end. Throws HostError when it is a terminal
// (nothing was piped in), empty or cannot be read.
class SpooledInput {
 public:
  SpooledInput();
  const std::string& path() const { return file_.path(); }

 private:
  TemporaryFile file_;
};

// Collects a file for standard output.
class BufferedOutput {
 public:
  int fd() const { return file_.fd(); }
  // Copies everything written to fd() to standard output; throws HostError
  // if standard output refuses it (a closed pipe, a full disk).
  void commit();

 private:
  TemporaryFile file_;
};

}  // namespace veltrax::host
