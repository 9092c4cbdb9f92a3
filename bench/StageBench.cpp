// Per-stage costs per input sample at 48 kHz, for the sawtooth:
//
//   stage/plain/cascades   the 16 full-rate sections (pre, power, revise),
//                          one IIRFilter call each
//   stage/plain/clipper    the oversampled clipping section: four passes of
//                          interpolation step, clamps, post cascade, table
//                          and decimation step
//   stage/plain/table      the table reader alone, four reads per sample
//   stage/<isa>/cascades   the fast kernel's two eight-lane pipelines
//   stage/<isa>/clipper    the fast kernel's oversampled section
#include <benchmark/benchmark.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "bench/BenchSignal.h"
#include "bench/FastStages.h"
#include "dsp/ChainShape.h"
#include "dsp/Clipper.h"
#include "dsp/CpuFeatures.h"
#include "dsp/IIRFilter.h"
#include "dsp/OversamplingFilter.h"
#include "dsp/StageTables.h"

namespace {

constexpr double kRate = 48000.0;
constexpr size_t kFrames = 12000;
using veltrax::chain::kPost;
using veltrax::chain::kPower;
using veltrax::chain::kPre;
using veltrax::chain::kRevise;

// The four cascades designed from the stage tables, as the sample-rate setup builds them.
struct Cascades {
  std::vector<std::unique_ptr<IIRFilter>> stages[veltrax::chain::kCascadeCount];
  Cascades() {
    for (int c = 0; c < veltrax::chain::kCascadeCount; ++c) {
      const StageTable& t = kStageTables[c];
      const double rate = veltrax::chain::kCascades[c].rateMultiple * kRate;
      for (int32_t i = 0; i < t.count; ++i) {
        filterPrm_tag prm = stageDesign(t.num[i], t.frq[i], t.q[i], t.gain[i], rate);
        stages[c].push_back(std::make_unique<IIRFilter>(&prm));
      }
    }
  }
};

const Clipper& sharedTable() {
  static const Clipper* table = [] {
    auto* built = new Clipper();
    built->build();
    return built;
  }();
  return *table;
}

void perSample(benchmark::State& state, size_t samplesPerIteration) {
  const double samples =
      static_cast<double>(samplesPerIteration) * static_cast<double>(state.iterations());
  state.counters["ns_per_sample"] =
      benchmark::Counter(samples * 1e-9, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void plainCascades(benchmark::State& state) {
  Cascades k;
  const std::vector<double> in = veltrax::bench::sawtooth(kRate, kFrames);
  std::vector<double> out(kFrames);
  for (auto _ : state) {
    for (size_t i = 0; i < kFrames; ++i) {
      double x = in[i];
      for (int c : {kPre, kPower, kRevise})
        for (auto& section : k.stages[c]) section->iirProcessing(&x);
      out[i] = x;
    }
    benchmark::DoNotOptimize(out.data());
  }
  perSample(state, kFrames);
}

void plainClipper(benchmark::State& state) {
  Cascades k;
  const Clipper& table = sharedTable();
  const OversamplingCoefficients& os = kOversampling48000;
  double up[6] = {}, down[6] = {};
  std::vector<double> in = veltrax::bench::sawtooth(kRate, kFrames), out(kFrames);
  for (double& x : in) x *= 0.01;  // about the drive the pre cascade and sustain give
  for (auto _ : state) {
    for (size_t i = 0; i < kFrames; ++i) {
      double z0 = 0.0;
      for (int pass = 0; pass < veltrax::chain::kOversampling; ++pass) {
        const double y = oversamplingStep(up, os.feedback, os.feedforward, pass == 0 ? in[i] : 0.0);
        double h = (y > 0.00125 ? 0.00125 : (y > -0.001 ? y : -0.001)) * 800.0;
        for (auto& section : k.stages[kPost]) section->iirProcessing(&h);
        h = h > 1.0 ? 1.0 : (h > -1.0 ? h : -1.0);
        const double z = oversamplingStep(down, os.feedback, os.feedforward, table.lookup(h));
        if (pass == 0) z0 = z;
      }
      out[i] = z0;
    }
    benchmark::DoNotOptimize(out.data());
  }
  perSample(state, kFrames);
}

void plainTable(benchmark::State& state) {
  const Clipper& table = sharedTable();
  std::vector<double> h = veltrax::bench::sawtooth(kRate * 4, kFrames * 4);
  for (double& x : h) x *= 2.0;  // -1 .. 1
  double sum = 0.0;
  for (auto _ : state) {
    for (double x : h) sum += table.lookup(x);
    benchmark::DoNotOptimize(sum);
  }
  perSample(state, kFrames);
}

// The chain state and block the fast stages start from: the same designs,
// zero state, in the kernel's lane layout.
struct FastSetup {
  veltrax::fast::ChainState state{};
  veltrax::fast::Block block{};
  FastSetup() {
    Cascades k;
    for (int lane = 0; lane < veltrax::chain::kLanes; ++lane) {
      const veltrax::chain::LaneSlot a = veltrax::chain::kBankA[lane];
      const veltrax::chain::LaneSlot b = veltrax::chain::kBankB[lane];
      for (int i = 0; i < 5; ++i) {
        state.a.coef[i][lane] = k.stages[a.cascade][a.section]->coef[i];
        state.b.coef[i][lane] = k.stages[b.cascade][b.section]->coef[i];
      }
    }
    for (auto& g : state.glide) g.ipPos = 1.0;  // glides over
    for (size_t s = 0; s < k.stages[kPost].size(); ++s)
      for (int i = 0; i < 5; ++i) state.post[s].coef[i] = k.stages[kPost][s]->coef[i];
    for (int i = 0; i < 6; ++i) {
      state.osFeedforward[i] = kOversampling48000.feedforward[i];
      if (i < 5) state.osFeedback[i] = kOversampling48000.feedback[i];
    }
    // The table and its limit as one run of entries, as the effect hands them over.
    const Clipper& table = sharedTable();
    block.clipEntries = table.entries();
    block.clipScale = table.clipScale;
  }
};

void fastStage(benchmark::State& state, veltrax::bench::StageRun run, double inputScale) {
  FastSetup setup;
  std::vector<double> in = veltrax::bench::sawtooth(kRate, kFrames), out(kFrames);
  for (double& x : in) x *= inputScale;
  for (auto _ : state) {
    run(setup.state, setup.block, in.data(), out.data(), kFrames);
    benchmark::DoNotOptimize(out.data());
  }
  perSample(state, kFrames);
}

[[maybe_unused]] const bool registered = [] {
  benchmark::RegisterBenchmark("stage/plain/cascades", plainCascades);
  benchmark::RegisterBenchmark("stage/plain/clipper", plainClipper);
  benchmark::RegisterBenchmark("stage/plain/table", plainTable);
#if defined(__x86_64__) || defined(__i386__)
  std::vector<veltrax::bench::FastStages> sets;
  if (veltrax::cpuHasAvx512()) sets.push_back(veltrax::bench::fastStagesAvx512());
  if (veltrax::cpuHasAvx2()) sets.push_back(veltrax::bench::fastStagesAvx2());
  if (!veltrax::chain::kFastLayoutFits) sets.clear();  // the kernels do not run this shape
  for (const auto& set : sets) {
    const std::string prefix = std::string("stage/") + set.isa + "/";
    benchmark::RegisterBenchmark((prefix + "cascades").c_str(), fastStage, set.cascades, 1.0);
    benchmark::RegisterBenchmark((prefix + "clipper").c_str(), fastStage, set.clipper, 0.01);
  }
#endif
  return true;
}();

}  // namespace
