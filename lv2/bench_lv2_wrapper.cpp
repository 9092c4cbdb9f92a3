// What the LV2 layer costs: the plug-in's run() through lilv against the
// effect's double-precision process called directly, at the same block
// lengths on the same signal. The difference is the wrapper: two float/double
// conversions per sample and one control-port check per block.
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "lv2/HostedEffect.h"
#include "lv2/PluginIdentity.h"
#include "lv2/testhost/Lv2TestHost.h"

namespace {

constexpr double kRate = 48000.0;
constexpr size_t kSignalFrames = 48000;

std::vector<float> sawtooth() {
  std::vector<float> signal(kSignalFrames);
  double phase = 0.0;
  for (float& x : signal) {
    x = static_cast<float>(phase - 0.5);
    phase += 110.0 / kRate;
    if (phase >= 1.0) phase -= 1.0;
  }
  return signal;
}

// Walks through the signal block by block, wrapping at its end.
template <typename Process>
void runBlocks(benchmark::State& state, Process&& process) {
  const auto block = static_cast<size_t>(state.range(0));
  size_t position = 0;
  for (auto _ : state) {
    if (position + block > kSignalFrames) position = 0;
    process(position, block);
    position += block;
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * block));
}

void BM_ModuleProcess(benchmark::State& state) {
  const auto block = static_cast<int32_t>(state.range(0));
  auto effect = veltrax::lv2::HostedEffect::create(static_cast<float>(kRate), block);
  if (!effect) return state.SkipWithError("effect not created");
  const std::vector<float> signal = sawtooth();
  std::vector<double> in(signal.begin(), signal.end()), out(kSignalFrames);
  effect->resume();
  runBlocks(state, [&](size_t at, size_t n) {
    effect->process(in.data() + at, out.data() + at, static_cast<int32_t>(n));
    benchmark::DoNotOptimize(out[at]);
  });
  effect->suspend();
}

void BM_Lv2Run(benchmark::State& state) {
  const auto block = static_cast<uint32_t>(state.range(0));
  veltrax::lv2host::Lv2World world(VELTRAX_LV2_PATH);
  veltrax::lv2host::InstanceOptions options;
  options.sampleRate = kRate;
  options.maxBlockLength = block;
  options.boundedBlockLength = true;
  auto plugin = veltrax::lv2host::Lv2Instance::create(world, veltrax::lv2::kPluginUri, options);
  if (!plugin) return state.SkipWithError("LV2 plug-in not loaded");
  const std::vector<float> in = sawtooth();
  std::vector<float> out(kSignalFrames);
  plugin->activate();
  runBlocks(state, [&](size_t at, size_t n) {
    plugin->run(in.data() + at, out.data() + at, static_cast<uint32_t>(n));
    benchmark::DoNotOptimize(out[at]);
  });
  plugin->deactivate();
}

BENCHMARK(BM_ModuleProcess)->Arg(1)->Arg(16)->Arg(64)->Arg(256)->Arg(1024)->Arg(4096);
BENCHMARK(BM_Lv2Run)->Arg(1)->Arg(16)->Arg(64)->Arg(256)->Arg(1024)->Arg(4096);

}  // namespace

BENCHMARK_MAIN();
