#include "support/CliHarness.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace cli_test {

RunningCli::RunningCli(const std::vector<std::string>& arguments, const RunOptions& options) {
  const std::string outPath = capture_.file("stdout"), errPath = capture_.file("stderr");
  pid_ = ::fork();
  if (pid_ < 0) throw std::runtime_error("fork failed");
  if (pid_ > 0) return;
  const int out = ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  const int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  const int in =
      ::open(options.standardInput.empty() ? "/dev/null" : options.standardInput.c_str(), O_RDONLY);
  ::dup2(in, STDIN_FILENO);
  ::dup2(out, STDOUT_FILENO);
  ::dup2(err, STDERR_FILENO);
  ::setenv("VELTRAX_MODULE", VELTRAX_MODULE_PATH, 1);
  for (const auto& entry : options.environment) ::putenv(const_cast<char*>(entry.c_str()));
  if (options.fileSizeLimit >= 0) {
    // A full disk, as far as the writer can tell: writes past the limit
    // fail with EFBIG instead of killing the process.
    ::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{static_cast<rlim_t>(options.fileSizeLimit),
                       static_cast<rlim_t>(options.fileSizeLimit)};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  // The command starts with the interrupt signals as an interactive shell
  // would give them, whatever the test runner inherited (a background job
  // has SIGINT ignored).
  for (int interrupt : {SIGINT, SIGTERM, SIGHUP}) ::signal(interrupt, SIG_DFL);
  std::vector<char*> argv{const_cast<char*>(VELTRAX_CLI_PATH)};
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  ::execv(VELTRAX_CLI_PATH, argv.data());
  ::_exit(127);
}

RunningCli::~RunningCli() {
  if (pid_ > 0) wait();
}

RunResult RunningCli::wait() {
  int status = 0;
  ::waitpid(pid_, &status, 0);
  pid_ = -1;
  RunResult result;
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  result.out = fileBytes(capture_.file("stdout"));
  result.err = fileBytes(capture_.file("stderr"));
  return result;
}

RunResult runCli(const std::vector<std::string>& arguments, const RunOptions& options) {
  return RunningCli(arguments, options).wait();
}

ScratchDir::ScratchDir() {
  char pattern[] = "/tmp/veltrax-cli-test-XXXXXX";
  if (!::mkdtemp(pattern)) throw std::runtime_error("mkdtemp failed");
  path_ = pattern;
}

ScratchDir::~ScratchDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::vector<std::string> ScratchDir::entries() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path_))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

void writeAudio(const std::string& path, const std::vector<std::vector<double>>& channels,
                int sampleRate, int format) {
  SF_INFO info{};
  info.channels = static_cast<int>(channels.size());
  info.samplerate = sampleRate;
  info.format = format;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (!file) throw std::runtime_error("cannot write " + path + ": " + sf_strerror(nullptr));
  const size_t frames = channels.front().size();
  std::vector<double> interleaved(frames * channels.size());
  for (size_t i = 0; i < frames; ++i)
    for (size_t c = 0; c < channels.size(); ++c)
      interleaved[i * channels.size() + c] = channels[c][i];
  sf_writef_double(file, interleaved.data(), static_cast<sf_count_t>(frames));
  sf_close(file);
}

Audio readAudio(const std::string& path) {
  Audio audio;
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &audio.info);
  if (!file) throw std::runtime_error("cannot read " + path + ": " + sf_strerror(nullptr));
  const auto channels = static_cast<size_t>(audio.info.channels);
  std::vector<double> interleaved(static_cast<size_t>(audio.info.frames) * channels);
  sf_readf_double(file, interleaved.data(), audio.info.frames);
  sf_close(file);
  audio.channels.assign(channels, std::vector<double>(static_cast<size_t>(audio.info.frames)));
  for (size_t i = 0; i < interleaved.size(); ++i)
    audio.channels[i % channels][i / channels] = interleaved[i];
  return audio;
}

std::string fileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

std::vector<double> testSignal(size_t frames, double frequency, double sampleRate, double peak) {
  std::vector<double> signal(frames);
  for (size_t i = 0; i < frames; ++i) {
    const double t = static_cast<double>(i) / sampleRate;
    double sum = 0.0;
    for (int h = 1; h <= 4; ++h) sum += std::sin(2.0 * M_PI * frequency * h * t) / h;
    signal[i] = peak * 0.55 * sum * std::exp(-1.5 * t);
  }
  return signal;
}

}  // namespace cli_test
