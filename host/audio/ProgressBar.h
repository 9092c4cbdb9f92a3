// A one-line progress bar on stderr. It appears only when stderr is a
// terminal and the work has already taken a second, and is redrawn at most
// ten times a second.
#pragma once

#include <chrono>
#include <string>

namespace veltrax::host {

class ProgressBar {
 public:
  explicit ProgressBar(std::string label);
  ~ProgressBar() { finish(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  void update(double fraction);
  // Erases the bar if it was drawn.
  void finish();

 private:
  using Clock = std::chrono::steady_clock;
  std::string label_;
  bool terminal_;
  bool drawn_ = false;
  Clock::time_point start_ = Clock::now();
  Clock::time_point lastDraw_{};
};

}  // namespace veltrax::host
