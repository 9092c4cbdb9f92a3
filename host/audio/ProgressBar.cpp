#include "host/audio/ProgressBar.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace veltrax::host {

ProgressBar::ProgressBar(std::string label)
    : label_(std::move(label)), terminal_(::isatty(STDERR_FILENO) == 1) {}

void ProgressBar::update(double fraction) {
  if (!terminal_) return;
  const auto now = Clock::now();
  if (now - start_ < std::chrono::seconds(1)) return;
  if (drawn_ && now - lastDraw_ < std::chrono::milliseconds(100)) return;
  lastDraw_ = now;
  fraction = std::clamp(fraction, 0.0, 1.0);
  constexpr int kWidth = 40;
  const int filled = static_cast<int>(fraction * kWidth + 0.5);
  std::fprintf(stderr, "\r%s [%.*s%*s] %3d%%", label_.c_str(), filled,
               "########################################", kWidth - filled, "",
               static_cast<int>(fraction * 100.0 + 0.5));
  std::fflush(stderr);
  drawn_ = true;
}

void ProgressBar::finish() {
  if (!drawn_) return;
  std::fprintf(stderr, "\r\033[K");
  std::fflush(stderr);
  drawn_ = false;
}

}  // namespace veltrax::host
