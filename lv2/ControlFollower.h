// Follows the four effect control ports and hands a value to the effect only when it
// changed: one setParameter per changed control per block, none otherwise.
#pragma once

#include <cstdint>

#include "lv2/Ports.h"

namespace veltrax::lv2 {

class HostedEffect;

class ControlFollower {
 public:
  // Host connects a control port (connect_port); other ports are ignored.
  void connect(uint32_t port, const float* location);

  // Takes the effect's current parameter values as the ones already sent, so
  // that only ports that differ from them are sent at the next apply().
  void syncFrom(const HostedEffect& effect);

  // Audio thread, once per block before processing: reads each connected
  // port, maps it to the parameter scale and sets the parameter if it differs
  // from the last value sent. A port reading NaN is left as it was.
  void apply(HostedEffect& effect);

 private:
  const float* ports_[kControlPortCount] = {};
  float sent_[kControlPortCount] = {};
};

}  // namespace veltrax::lv2
