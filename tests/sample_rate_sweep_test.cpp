// Every finite rate from 62.5 Hz (a one-sample On/Off fade) up to, not
// including, 2^31 Hz builds a working instance (the rates outside that range
// and a return from the limits to a fresh build are checked with the signal
// chain).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "support/ModuleHost.h"
#include "support/OutputBound.h"
#include "support/RunLength.h"

using namespace testhost;

namespace {

// Common rates, odd ones a drifting clock reports, the lowest rate and far
// beyond audio in both directions.
const float kValidRates[] = {62.5f,     100.0f,    500.0f,     999.0f,     1000.0f,   8000.0f,
                             11025.0f,  16000.0f,  22050.0f,   32000.0f,   44056.0f,  44100.0f,
                             47999.9f,  48000.0f,  48000.5f,   88200.0f,   96000.0f,  176400.0f,
                             192000.0f, 384000.0f, 1536000.0f, 2000000.0f, 4000000.0f};

// Knob corners and a mid setting: {On/Off, volume, tone, sustain}.
const float kKnobs[][4] = {{1.0f, 1.0f, 0.0f, 1.0f},
                           {1.0f, 1.0f, 1.0f, 1.0f},
                           {1.0f, 0.0f, 1.0f, 0.0f},
                           {1.0f, 0.5f, 0.5f, 0.5f}};

// Half a second (a tenth under a sanitizer or valgrind), but at most 2^18
// samples (2^17), of a loud chord with noise and a click train on top.
std::vector<double> testSignal(double rate) {
  const double seconds = 1.0 / static_cast<double>(runLength(2, 10));
  const double most = static_cast<double>(runLength(1 << 18, 1 << 17));
  auto signal = noise(0.2, static_cast<size_t>(std::min(rate * seconds, most)), 17);
  for (size_t i = 0; i < signal.size(); ++i) {
    const double t = static_cast<double>(i) / rate;
    signal[i] += 0.8 * std::sin(2 * M_PI * 110.0 * t) + 0.5 * std::sin(2 * M_PI * 1234.5 * t);
    if (i % 997 == 0) signal[i] = 1.5;
  }
  return signal;
}

// At every rate and knob corner the effect path is audible, finite and
// bounded, through blocks of 1, 4096 and odd lengths and a toggle to Off.
TEST(SampleRateSweep, EveryValidRateBuildsAndProcessesFiniteBoundedOutput) {
  Module module;
  for (float rate : kValidRates) {
    const auto in = testSignal(rate);
    for (const auto& knobs : kKnobs) {
      Instance fx(module);
      for (int32_t p = 0; p < 4; ++p) fx.setParameter(p, knobs[p]);
      fx.setSampleRate(rate);
      // Blocks of 1, 4096 and 333 for the first half, then Off in blocks of 512.
      auto out = fx.process({in.begin(), in.begin() + in.size() / 2}, {1, 4096, 333});
      fx.setParameter(0, 0.0f);
      const auto rest = fx.process({in.begin() + in.size() / 2, in.end()}, {512});
      out.insert(out.end(), rest.begin(), rest.end());
      ASSERT_FALSE(std::equal(out.begin(), out.end(), in.begin(), in.end(), sameSamples))
          << rate << " Hz: still passing audio through";
      for (size_t i = 0; i < out.size(); ++i)
        ASSERT_TRUE(std::isfinite(out[i]) && withinOutputBound(in[i], out[i]))
            << rate << " Hz, knobs " << knobs[1] << "/" << knobs[2] << "/" << knobs[3]
            << ", sample " << i << ": " << out[i];
    }
  }
}

}  // namespace
