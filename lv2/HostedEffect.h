// One VELTRAX instance, created through the entry function and driven through
// its AEffect record exactly as a plug-in host drives it. The only call that
// lies outside the host interface is the capacity reservation.
#pragma once

#include <cstdint>
#include <memory>

#include "frame/AEffect.h"

namespace veltrax::lv2 {

class HostedEffect {
 public:
  // Creates and opens an instance, sets the sample rate and the block size and
  // reserves per-block buffers for `reserveFrames` frames. Null if the effect
  // cannot be created, has no double-precision process or the memory cannot
  // be had. Not real-time: allocates.
  static std::unique_ptr<HostedEffect> create(float sampleRate, int32_t reserveFrames);

  // Closes the instance (effClose deletes it).
  ~HostedEffect();
  HostedEffect(const HostedEffect&) = delete;
  HostedEffect& operator=(const HostedEffect&) = delete;

  // Audio is about to start / has stopped (effMainsChanged 1 / 0).
  void resume();
  void suspend();

  float parameter(int32_t index) const;
  // Stores a parameter value; the effect picks it up at its next block.
  void setParameter(int32_t index, float value);

  // One block through the double-precision process entry; `in` and `out` may
  // be the same buffer.
  void process(double* in, double* out, int32_t frames);

  // The host callback: answers the version query (non-zero lets the effect be
  // created) and nothing else. Real-time safe: no state, no allocation.
  static intptr_t hostCallback(AEffect* effect, int32_t opcode, int32_t index, intptr_t value,
                               void* ptr, float opt);

 private:
  explicit HostedEffect(AEffect* effect) : effect_(effect) {}
  intptr_t dispatch(int32_t opcode, int32_t index = 0, intptr_t value = 0, void* ptr = nullptr,
                    float opt = 0.0f);

  AEffect* effect_;
};

}  // namespace veltrax::lv2
