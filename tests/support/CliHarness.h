// Helpers for the command-line host's end-to-end tests: run the `veltrax`
// binary and capture what it says, scratch directories, and audio files
// written and read with libsndfile.
#pragma once

#include <sndfile.h>

#include <string>
#include <vector>

namespace cli_test {

struct RunResult {
  int exitCode = -1;
  std::string out, err;
};

struct RunOptions {
  std::vector<std::string> environment;  // extra NAME=VALUE entries
  long fileSizeLimit = -1;               // RLIMIT_FSIZE in bytes for the child, -1: none
  std::string standardInput;             // file the child reads as stdin; empty: /dev/null
};

// Runs the built `veltrax` with `arguments` (the module is passed through
// VELTRAX_MODULE unless the arguments give --module).
RunResult runCli(const std::vector<std::string>& arguments, const RunOptions& options = {});

// A fresh directory under /tmp, removed with its contents at the end.
class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  std::vector<std::string> entries() const;  // names, sorted

 private:
  std::string path_;
};

// runCli in two steps, for tests that act while the command runs.
class RunningCli {
 public:
  RunningCli(const std::vector<std::string>& arguments, const RunOptions& options = {});
  ~RunningCli();
  int pid() const { return pid_; }
  RunResult wait();

 private:
  int pid_ = -1;
  ScratchDir capture_;  // the child's stdout and stderr
};

struct Audio {
  SF_INFO info{};
  std::vector<std::vector<double>> channels;
};

void writeAudio(const std::string& path, const std::vector<std::vector<double>>& channels,
                int sampleRate, int format);
Audio readAudio(const std::string& path);
std::string fileBytes(const std::string& path);

// A guitar-like test tone: decaying harmonics at `frequency`, peak about `peak`.
std::vector<double> testSignal(size_t frames, double frequency, double sampleRate, double peak);

}  // namespace cli_test
