// Test signals shared by the benchmarks.
#pragma once

#include <cstddef>
#include <vector>

namespace veltrax::bench {

// A 110 Hz sawtooth at half scale: a guitar-like spectrum that keeps the
// clipper busy, the same signal the LV2 peer comparison renders.
std::vector<double> sawtooth(double rate, size_t frames);

}  // namespace veltrax::bench
