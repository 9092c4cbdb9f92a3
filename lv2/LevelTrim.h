// One level trim (input or output) on the double samples around the effect.
// A new port reading glides linearly from the gain in use to the new one over
// kRampSeconds, so moving a trim never clicks; with N ramp frames and the
// gains g0 (before) and g1 (after), the gain at frame n of the glide is
//   g[n] = g0 + (g1 - g0) * (n + 1) / N   for n = 0 .. N - 1, then g1.
#pragma once

#include <cstdint>

namespace veltrax::lv2 {

class LevelTrim {
 public:
  static constexpr double kRampSeconds = 0.01;

  // Host thread, at instantiate: the rate in Hz and the dB used while no
  // port is connected.
  LevelTrim(double sampleRate, float defaultDb);

  // Host connects the trim's control port (connect_port).
  void connect(const float* port) { port_ = port; }

  // Host thread, at activation: the next block starts on the port's reading
  // without a glide (there is no earlier audio to glide from).
  void restart() { restart_ = true; }

  // Audio thread, once per block: reads the port (NaN: no change) and scales
  // x[0 .. frames) in place. Allocates nothing.
  void apply(double* x, uint32_t frames);

  // The gain the next frame gets if the reading does not change.
  double currentGain() const;

 private:
  const float* port_ = nullptr;
  uint32_t rampFrames_;
  float db_;
  double from_, to_;
  uint32_t position_;  // frames of the glide done; rampFrames_ when settled
  bool restart_ = true;
};

}  // namespace veltrax::lv2
