// The multi-stream engine against the single-stream fast engine, in one run.
// One iteration renders a quarter of a second of the 110 Hz sawtooth per
// stream at 48000 Hz in blocks of 256, steady knobs. Figures are wall time
// per stream-sample over all streams (the threads the engine starts count),
// so x_realtime is the aggregate throughput.
//
//   multistream/single-fast/48000/256            one instance, fast engine
//   multistream/<kernel>/<streams>/<threads>/48000/256
//                                                 renderStreams with that lane kernel
//   multistream/ceiling-<kernel>/<lanes>/1/48000/256
//                                                 the least time the lane kernel could
//                                                 take on this processor (below)
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "bench/BenchSignal.h"
#include "dsp/ChainShape.h"
#include "dsp/multistream/StreamBatch.h"
#include "effect/VELTRAX.h"

namespace {

namespace ms = veltrax::multistream;

constexpr double kRate = 48000.0;
constexpr int kBlock = 256;

// Wall-clock figures, set once the loop has ended.
class WallClock {
 public:
  void start() { begin_ = std::chrono::steady_clock::now(); }
  void stop() {
    ns_ +=
        std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin_).count();
  }
  void report(benchmark::State& state, double samplesPerIteration) const {
    const double samples = samplesPerIteration * static_cast<double>(state.iterations());
    state.counters["ns_per_sample"] = ns_ / samples;
    state.counters["x_realtime"] = samples / kRate / (ns_ * 1e-9);
  }

 private:
  std::chrono::steady_clock::time_point begin_;
  double ns_ = 0.0;
};

void singleFast(benchmark::State& state) {
  const size_t frames = static_cast<size_t>(kRate / 4);
  std::vector<double> in = veltrax::bench::sawtooth(kRate, frames), out(frames);
  VELTRAX fx(nullptr);
  fx.setSampleRate(static_cast<float>(kRate));
  WallClock clock;
  for (auto _ : state) {
    clock.start();
    for (size_t pos = 0; pos < frames; pos += kBlock) {
      double* i = in.data() + pos;
      double* o = out.data() + pos;
      fx.processDoubleReplacing(&i, &o,
                                static_cast<int32_t>(std::min<size_t>(kBlock, frames - pos)));
    }
    clock.stop();
    benchmark::DoNotOptimize(out.data());
  }
  clock.report(state, static_cast<double>(frames));
}

void multiStream(benchmark::State& state, ms::KernelChoice kernel, int streams, int threads) {
  const size_t frames = static_cast<size_t>(kRate / 4);
  std::vector<std::vector<double>> in,
      out(static_cast<size_t>(streams), std::vector<double>(frames));
  for (int s = 0; s < streams; ++s) in.push_back(veltrax::bench::sawtooth(kRate, frames));
  std::vector<ms::StreamJob> jobs;
  for (int s = 0; s < streams; ++s)
    jobs.push_back({in[s].data(), out[s].data(), frames, ms::Knobs{}});
  WallClock clock;
  for (auto _ : state) {
    clock.start();
    ms::renderStreams(jobs.data(), jobs.size(), static_cast<float>(kRate), kBlock, threads, kernel);
    clock.stop();
    benchmark::DoNotOptimize(out[0].data());
  }
  clock.report(state, static_cast<double>(frames) * streams);
}

// The ceiling: every lane of the kernel performs the plain loop's operations,
// so a step (one sample of every lane) issues at least this many vector
// operations on the floating-point pipes (arithmetic, compares, selects,
// conversions and the table reads' shuffles), counted from the code:
namespace chain = veltrax::chain;
constexpr int kSection = 9;            // y = b0 x + z1; z1 = (b1 x + z2) + a1 y; z2 = b2 x + a2 y
constexpr int kFirstOrderSection = 5;  // y = b0 x + z1; z1 = b1 x + a1 y (the post sections)
constexpr int kRow = 22;           // y = f0 v + s0; s_k = (f_(k+1) v + c_k y) + s_(k+1), k = 0..4
constexpr int kZeroInputRow = 10;  // y = s0; s_k = c_k y + s_(k+1) (v = 0: no f*0 terms)
// Per sub-sample of the shaper: clamp 2 (max, min), x800 1, the post cascade,
// clamp 2, table position 2, conversions 2, interpolation 4, the table pairs
// sorted into two vectors 8.
constexpr int kShaperSubSample =
    2 + 1 + chain::kCascades[chain::kPost].sections * kFirstOrderSection + 2 + 2 + 2 + 4 + 8;
constexpr int kFullRateSections = chain::kCascades[chain::kPre].sections +
                                  chain::kCascades[chain::kPower].sections +
                                  chain::kCascades[chain::kRevise].sections;
constexpr int kOperationsPerStep = kFullRateSections * kSection + kRow +
                                   (chain::kOversampling - 1) * kZeroInputRow +  // interpolation
                                   chain::kOversampling * kRow +                 // decimation
                                   chain::kOversampling * kShaperSubSample +
                                   4;  // drive, tone, volume, output level (flat ramps here)

// The processor's peak rate of independent vector multiplications and
// additions, half each (as in the chain), on Pairs pairs of accumulators:
// enough independent chains to keep every pipe busy through the operations'
// latencies, as many as the registers hold next to the two operands.
template <class V, int Pairs>
[[gnu::always_inline]] inline double peakRounds(long rounds) {
  V m = V{} + 0.999999999, a = V{} + 1e-9;
  __asm__("" : "+v"(m), "+v"(a));  // not constants to the compiler
  V product[Pairs], sum[Pairs];
  for (int i = 0; i < Pairs; ++i) product[i] = sum[i] = V{} + 1.0;
  for (long r = 0; r < rounds; ++r) {
#pragma GCC unroll 16
    for (int i = 0; i < Pairs; ++i) {
      product[i] *= m;
      sum[i] += a;
    }
    __asm__ volatile("");  // one round after the other: no loop interchange
  }
  double total = 0.0;
  for (int i = 0; i < Pairs; ++i) total += product[i][0] + sum[i][0];
  return total;
}
typedef double Doubles8 __attribute__((vector_size(64)));
typedef double Doubles4 __attribute__((vector_size(32)));
// 32 registers with AVX-512, 16 with AVX2.
constexpr int kPairsAvx512 = 10, kPairsAvx2 = 7;
__attribute__((target("avx512f"))) double peakAvx512(long rounds) {
  return peakRounds<Doubles8, kPairsAvx512>(rounds);
}
__attribute__((target("avx2"))) double peakAvx2(long rounds) {
  return peakRounds<Doubles4, kPairsAvx2>(rounds);
}

void ceiling(benchmark::State& state, double (*peak)(long), int pairs, int lanes) {
  constexpr long kRounds = 1 << 16;
  WallClock clock;
  for (auto _ : state) {
    clock.start();
    benchmark::DoNotOptimize(peak(kRounds));
    clock.stop();
  }
  // The operations of one round stand for this many stream-samples of the kernel.
  const double streamSamples =
      static_cast<double>(kRounds) * 2 * pairs * lanes / kOperationsPerStep;
  clock.report(state, streamSamples);
}

[[maybe_unused]] const bool registered = [] {
  benchmark::RegisterBenchmark("multistream/single-fast/48000/256", singleFast)
      ->Unit(benchmark::kMillisecond);
  ms::KernelChoice kernels[4];
  const int count = ms::supportedKernels(kernels, 4);
  for (int k = 0; k < count; ++k)
    for (int streams : {8, 16, 32})
      for (int threads : {1, 2}) {
        const std::string name = std::string("multistream/") + kernels[k].name + "/" +
                                 std::to_string(streams) + "/" + std::to_string(threads) +
                                 "/48000/256";
        benchmark::RegisterBenchmark(name.c_str(), multiStream, kernels[k], streams, threads)
            ->Unit(benchmark::kMillisecond);
      }
  for (int k = 0; k < count; ++k) {
    double (*peak)(long) = nullptr;
    int pairs = 0;
#if defined(__x86_64__)
    if (std::string(kernels[k].name) == "avx512") peak = peakAvx512, pairs = kPairsAvx512;
    if (std::string(kernels[k].name) == "avx2") peak = peakAvx2, pairs = kPairsAvx2;
#endif
    if (!peak) continue;
    const std::string name = std::string("multistream/ceiling-") + kernels[k].name + "/" +
                             std::to_string(kernels[k].lanes) + "/1/48000/256";
    benchmark::RegisterBenchmark(name.c_str(), ceiling, peak, pairs, kernels[k].lanes)
        ->Unit(benchmark::kMillisecond);
  }
  return true;
}();

}  // namespace
