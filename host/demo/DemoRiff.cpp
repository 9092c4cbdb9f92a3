#include "host/demo/DemoRiff.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "host/common/Levels.h"
#include "host/demo/PluckedString.h"

namespace veltrax::host {
namespace {

constexpr double kBeatsPerMinute = 120.0;
constexpr double kTotalBeats = 16.0;  // four bars of 4/4: 8 s
constexpr double kTailSeconds = 0.5;
constexpr std::array<double, 6> kOpenStrings{82.407, 110.0, 146.832, 195.998, 246.942, 329.628};

enum Touch { kOpen, kMuted };

struct Chord {
  double beat;    // start
  double length;  // beats until the strings are damped
  Touch touch;
  std::array<int, 6> frets;  // -1: string not played; index 0 is the low E
};

constexpr int x = -1;

// E5, palm-muted chugs, G5-A5 pushes, a D-C-B walk-down and a run up to a
// ringing E5 at the end.
constexpr Chord kRiff[] = {
    {0.0, 1.0, kOpen, {0, 2, 2, x, x, x}},  {1.0, 0.5, kMuted, {0, x, x, x, x, x}},
    {1.5, 0.5, kMuted, {0, x, x, x, x, x}}, {2.0, 0.5, kOpen, {3, 5, 5, x, x, x}},
    {2.5, 0.5, kMuted, {0, x, x, x, x, x}}, {3.0, 1.0, kOpen, {5, 7, 7, x, x, x}},
    {4.0, 0.5, kMuted, {0, x, x, x, x, x}}, {4.5, 0.5, kMuted, {0, x, x, x, x, x}},
    {5.0, 0.5, kOpen, {x, 5, 7, x, x, x}},  {5.5, 0.5, kOpen, {x, 3, 5, x, x, x}},
    {6.0, 1.0, kOpen, {x, 2, 4, x, x, x}},  {7.0, 0.5, kMuted, {0, x, x, x, x, x}},
    {7.5, 0.5, kMuted, {0, x, x, x, x, x}}, {8.0, 1.0, kOpen, {0, 2, 2, x, x, x}},
    {9.0, 0.5, kMuted, {0, x, x, x, x, x}}, {9.5, 0.5, kMuted, {0, x, x, x, x, x}},
    {10.0, 0.5, kOpen, {3, 5, 5, x, x, x}}, {10.5, 0.5, kMuted, {0, x, x, x, x, x}},
    {11.0, 1.0, kOpen, {5, 7, 7, x, x, x}}, {12.0, 0.5, kOpen, {x, x, x, 2, x, x}},
    {12.5, 0.5, kOpen, {x, x, x, 4, x, x}}, {13.0, 0.5, kOpen, {x, x, x, x, 3, x}},
    {13.5, 0.5, kOpen, {x, x, x, x, 5, x}}, {14.0, 2.5, kOpen, {0, 2, 2, 1, 0, 0}},
};

constexpr double kStrumSeconds = 0.006;  // between neighbouring strings, downstroke

}  // namespace

std::vector<double> synthesizeDemoRiff(double sampleRate) {
  const double secondsPerBeat = 60.0 / kBeatsPerMinute;
  const auto total =
      static_cast<size_t>((kTotalBeats * secondsPerBeat + kTailSeconds) * sampleRate);
  std::vector<double> out(total, 0.0);

  std::array<PluckedString, 6> strings{PluckedString(sampleRate), PluckedString(sampleRate),
                                       PluckedString(sampleRate), PluckedString(sampleRate),
                                       PluckedString(sampleRate), PluckedString(sampleRate)};
  // Plucks and dampings, in time order.
  struct Event {
    size_t at;
    int string;
    double frequency;  // 0: damp
    Touch touch;
    double velocity;
  };
  std::vector<Event> events;
  for (const Chord& chord : kRiff) {
    int order = 0;
    for (int s = 0; s < 6; ++s) {
      if (chord.frets[s] < 0) continue;
      const double start = chord.beat * secondsPerBeat + order++ * kStrumSeconds;
      const double end = (chord.beat + chord.length) * secondsPerBeat - 0.02;
      const double frequency = kOpenStrings[s] * std::pow(2.0, chord.frets[s] / 12.0);
      const double accent = std::fmod(chord.beat, 1.0) == 0.0 ? 1.0 : 0.8;
      events.push_back(
          {static_cast<size_t>(start * sampleRate), s, frequency, chord.touch, accent});
      events.push_back({static_cast<size_t>(end * sampleRate), s, 0.0, chord.touch, 0.0});
    }
  }

  std::stable_sort(events.begin(), events.end(),
                   [](const Event& a, const Event& b) { return a.at < b.at; });
  size_t nextEvent = 0;

  uint32_t noise = 0x9E3779B9u;
  // Pickup and cable: a 70 Hz high-pass and a 4.5 kHz low-pass, one pole each.
  const double highPass = std::exp(-2.0 * M_PI * 70.0 / sampleRate);
  const double lowPass = std::exp(-2.0 * M_PI * 4500.0 / sampleRate);
  double hpIn = 0.0, hpOut = 0.0, lpOut = 0.0;
  for (size_t n = 0; n < total; ++n) {
    for (; nextEvent < events.size() && events[nextEvent].at == n; ++nextEvent) {
      const Event& event = events[nextEvent];
      PluckedString& string = strings[event.string];
      if (event.frequency > 0.0) {
        const bool muted = event.touch == kMuted;
        // A palm mute: a darker, harder pick (one string, so louder) that
        // dies within a quarter second.
        string.pluck(event.frequency, event.velocity * (muted ? 1.6 : 1.0), muted ? 0.3 : 0.7,
                     muted ? 0.25 : 4.0, noise);
      } else {
        string.damp(event.touch == kMuted ? 0.04 : 0.08);
      }
    }
    double sum = 0.0;
    for (auto& string : strings) sum += string.next();
    hpOut = highPass * (hpOut + sum - hpIn);
    hpIn = sum;
    lpOut = (1.0 - lowPass) * hpOut + lowPass * lpOut;
    out[n] = lpOut;
  }

  const double peak = peakOf(out.data(), out.size());
  if (peak > 0.0) {
    const double gain = std::pow(10.0, kDemoRiffPeakDb / 20.0) / peak;
    for (double& sample : out) sample *= gain;
  }
  return out;
}

}  // namespace veltrax::host
