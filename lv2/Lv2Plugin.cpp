// The LV2 descriptor: one VELTRAX instance behind LV2's instantiate /
// connect_port / activate / run / deactivate / cleanup. The only symbol this
// binary exports is lv2_descriptor.
//
// The input and output trims scale the double samples before and after the
// effect (LevelTrim); at 0 dB they leave them untouched.
//
// run() is hard real-time for blocks up to the reservation made at
// instantiate (bufsz:maxBlockLength, or 8192 frames): it takes the effect's
// instance lock (uncontended: LV2 calls run() and nothing else concurrently
// on one instance), converts the block to double, processes it and converts
// it back, allocating nothing. A longer block is processed whole, as the
// host gave it, after growing the conversion buffers once (and the effect
// its own) to that length; so the output is always what the effect gives for
// the host's block lengths.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include <lv2/core/lv2.h>

#include "lv2/BlockScratch.h"
#include "lv2/ControlFollower.h"
#include "lv2/ControlMapping.h"
#include "lv2/HostFeatures.h"
#include "lv2/HostedEffect.h"
#include "lv2/LevelTrim.h"
#include "lv2/PluginIdentity.h"
#include "lv2/Ports.h"

namespace veltrax::lv2 {
namespace {

struct Plugin {
  explicit Plugin(double rate)
      : sampleRate(static_cast<float>(rate)),
        inputTrim(rate, kInputTrimDefaultDb),
        outputTrim(rate, kOutputTrimDefaultDb) {}

  float sampleRate = 0.0f;
  uint32_t reserveFrames = 0;
  std::unique_ptr<HostedEffect> effect;
  BlockScratch scratch;
  ControlFollower controls;
  LevelTrim inputTrim, outputTrim;
  const float* in = nullptr;
  float* out = nullptr;
  bool hasHistory = false;  // the effect has processed audio since it was created
};

// Host thread, once per instance; features may offer options, urid:map and
// bufsz:boundedBlockLength, none is required (lv2apply offers none).
LV2_Handle instantiate(const LV2_Descriptor*, double sampleRate, const char*,
                       const LV2_Feature* const* features) {
  try {
    auto plugin = std::make_unique<Plugin>(sampleRate);
    plugin->reserveFrames = reserveFramesFor(scanHostFeatures(features));
    plugin->effect =
        HostedEffect::create(plugin->sampleRate, static_cast<int32_t>(plugin->reserveFrames));
    if (!plugin->effect || !plugin->scratch.reserve(plugin->reserveFrames)) return nullptr;
    plugin->controls.syncFrom(*plugin->effect);
    return plugin.release();
  } catch (...) {
    return nullptr;  // nothing may unwind into a C host
  }
}

// Any thread the host likes, never concurrently with run(); stores a pointer only.
void connectPort(LV2_Handle handle, uint32_t port, void* location) {
  auto* plugin = static_cast<Plugin*>(handle);
  switch (port) {
    case kPortIn:
      plugin->in = static_cast<const float*>(location);
      break;
    case kPortOut:
      plugin->out = static_cast<float*>(location);
      break;
    case kPortInputTrim:
      plugin->inputTrim.connect(static_cast<const float*>(location));
      break;
    case kPortOutputTrim:
      plugin->outputTrim.connect(static_cast<const float*>(location));
      break;
    default:
      plugin->controls.connect(port, static_cast<const float*>(location));
      break;
  }
}

// Host thread, before the first run() and after every deactivate(). A
// re-activation starts from a fresh instance, as LV2 asks (no filter state,
// ramps or fades carried over); the control ports are sent again at the next
// run(), and the trims start on their readings without a glide. If no fresh
// instance can be had the old one carries on.
void activate(LV2_Handle handle) {
  auto* plugin = static_cast<Plugin*>(handle);
  if (plugin->hasHistory) {
    try {
      auto fresh =
          HostedEffect::create(plugin->sampleRate, static_cast<int32_t>(plugin->reserveFrames));
      if (fresh) {
        plugin->effect = std::move(fresh);
        plugin->controls.syncFrom(*plugin->effect);
        plugin->hasHistory = false;
      }
    } catch (...) {
    }
  }
  plugin->inputTrim.restart();
  plugin->outputTrim.restart();
  plugin->effect->resume();
}

// Dry copy for a block that cannot be processed; in and out may alias.
void passThrough(const float* in, float* out, uint32_t frames) {
  if (in != out) std::memmove(out, in, frames * sizeof(float));
}

// Audio thread, one block of `frames` samples.
void run(LV2_Handle handle, uint32_t frames) {
  auto* plugin = static_cast<Plugin*>(handle);
  if (frames == 0 || plugin->in == nullptr || plugin->out == nullptr) return;
  if (frames > static_cast<uint32_t>(INT32_MAX) || !plugin->scratch.reserve(frames)) {
    passThrough(plugin->in, plugin->out, frames);
    return;
  }
  plugin->controls.apply(*plugin->effect);
  plugin->hasHistory = true;

  double* in = plugin->scratch.input();
  double* out = plugin->scratch.output();
  std::copy(plugin->in, plugin->in + frames, in);  // read all input first: ports may alias
  plugin->inputTrim.apply(in, frames);
  plugin->effect->process(in, out, static_cast<int32_t>(frames));
  plugin->outputTrim.apply(out, frames);
  for (uint32_t i = 0; i < frames; ++i) plugin->out[i] = static_cast<float>(out[i]);
}

// Host thread, after the last run() of an activation.
void deactivate(LV2_Handle handle) { static_cast<Plugin*>(handle)->effect->suspend(); }

// Host thread, once; closes the effect.
void cleanup(LV2_Handle handle) { delete static_cast<Plugin*>(handle); }

// No extension interfaces: options are read at instantiate only.
const void* extensionData(const char*) { return nullptr; }

const LV2_Descriptor kDescriptor = {
    kPluginUri, instantiate, connectPort, activate, run, deactivate, cleanup, extensionData,
};

}  // namespace
}  // namespace veltrax::lv2

// Host, on loading the binary: the plug-ins it holds, by index.
LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
  return index == 0 ? &veltrax::lv2::kDescriptor : nullptr;
}
