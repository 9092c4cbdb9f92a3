// The demo's guitar riff: four bars of a palm-muted power-chord riff with a
// short single-note run, 120 beats per minute, on six plucked strings tuned
// E A D G B E, through a simple pickup-and-cable tone. Deterministic: the
// same rate gives the same samples on every run.
#pragma once

#include <cstdint>
#include <vector>

namespace veltrax::host {

constexpr double kDemoSampleRate = 48000.0;
constexpr int32_t kDemoBlockSize = 512;
// Peak level of the riff, as from a guitar with medium-output pickups.
constexpr double kDemoRiffPeakDb = -12.0;

std::vector<double> synthesizeDemoRiff(double sampleRate = kDemoSampleRate);

}  // namespace veltrax::host
