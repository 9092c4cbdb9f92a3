// The whole chain through the binary interface: an instance made by the entry
// function and driven only through its AEffect record (dispatcher for the
// rate, setParameter for knobs, the double-precision process entry), as a
// host drives it. One iteration renders a quarter of a second of the
// sawtooth in blocks of the given length.
//
//   chain/<engine>/<knobs>/<rate>/<block>
//   engine: fast (the default), fast-<kernel> (one kernel forced, for every
//           kernel this processor runs; 48000 Hz; blocks of 64, 256 and 4096
//           with steady knobs, of 256 with the others) or
//           plain (the reference loop)
//   knobs:  steady, automation (all three knobs move every block, so the
//           tone filters glide in every block) or toggle (On/Off flips every
//           2048 samples, so a cross-fade is always running)
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "bench/BenchSignal.h"
#include "dsp/FastChainState.h"
#include "effect/InternalControl.h"
#include "frame/AEffect.h"
#include "frame/QTypeIF.h"

extern "C" void* getinterface(audioMasterCallback audioMaster);

namespace {

intptr_t host(AEffect*, int32_t opcode, int32_t, intptr_t, void*, float) {
  return opcode == audioMasterVersion ? 2400 : 0;
}

enum class Knobs { steady, automation, toggle };

struct ChainCase {
  veltrax::Engine engine;
  Knobs knobs;
  double rate;
  int block;
};

// An instance opened and set to `rate`, closed through the record at the end.
class HostedEffect {
 public:
  HostedEffect(double rate, int block, veltrax::Engine engine)
      : interface_(static_cast<Q_TypeIF*>(getinterface(host))), fx_(interface_->effect) {
    fx_->dispatcher(fx_, effOpen, 0, 0, nullptr, 0.0f);
    fx_->dispatcher(fx_, effSetSampleRate, 0, 0, nullptr, static_cast<float>(rate));
    fx_->dispatcher(fx_, effSetBlockSize, 0, block, nullptr, 0.0f);
    fx_->dispatcher(fx_, effMainsChanged, 0, 1, nullptr, 0.0f);
    veltrax::selectEngine(fx_, engine);
  }
  ~HostedEffect() {
    fx_->dispatcher(fx_, effMainsChanged, 0, 0, nullptr, 0.0f);
    fx_->dispatcher(fx_, effClose, 0, 0, nullptr, 0.0f);
    delete interface_;
  }
  HostedEffect(const HostedEffect&) = delete;
  HostedEffect& operator=(const HostedEffect&) = delete;

  void knob(int32_t index, float value) { fx_->setParameter(fx_, index, value); }
  void process(double* in, double* out, int n) { fx_->processDoubleReplacing(fx_, &in, &out, n); }

 private:
  Q_TypeIF* interface_;
  AEffect* fx_;
};

void runChain(benchmark::State& state, ChainCase c) {
  const size_t frames = static_cast<size_t>(c.rate / 4);
  std::vector<double> in = veltrax::bench::sawtooth(c.rate, frames), out(frames);
  HostedEffect fx(c.rate, c.block, c.engine);
  fx.process(in.data(), out.data(), c.block);  // first block: tapers, glides, buffers

  const size_t togglePeriod = static_cast<size_t>(c.block >= 2048 ? 1 : 2048 / c.block);
  size_t blockIndex = 0;
  for (auto _ : state) {
    for (size_t pos = 0; pos < frames; pos += static_cast<size_t>(c.block), ++blockIndex) {
      const int n = static_cast<int>(std::min<size_t>(static_cast<size_t>(c.block), frames - pos));
      if (c.knobs == Knobs::automation) {
        const float wobble = (blockIndex % 2) ? 0.3f : 0.7f;
        fx.knob(1, wobble);
        fx.knob(2, 1.0f - wobble);
        fx.knob(3, wobble);
      } else if (c.knobs == Knobs::toggle && blockIndex % togglePeriod == 0) {
        fx.knob(0, (blockIndex / togglePeriod) % 2 ? 1.0f : 0.0f);
      }
      fx.process(in.data() + pos, out.data() + pos, n);
    }
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  const double samples = static_cast<double>(frames) * static_cast<double>(state.iterations());
  state.counters["ns_per_sample"] =
      benchmark::Counter(samples * 1e-9, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["x_realtime"] = benchmark::Counter(samples / c.rate, benchmark::Counter::kIsRate);
}

// The same with one kernel forced for the duration of the benchmark.
void runChainOnKernel(benchmark::State& state, ChainCase c, veltrax::fast::Kernel kernel) {
  veltrax::fast::overrideKernel(kernel);
  runChain(state, c);
  veltrax::fast::overrideKernel(nullptr);
}

const char* knobsName(Knobs k) {
  return k == Knobs::steady ? "steady" : k == Knobs::automation ? "automation" : "toggle";
}

[[maybe_unused]] const bool registered = [] {
  for (veltrax::Engine engine : {veltrax::Engine::fast, veltrax::Engine::plain})
    for (Knobs knobs : {Knobs::steady, Knobs::automation, Knobs::toggle})
      for (double rate : {44100.0, 48000.0, 96000.0})
        for (int block : {1, 16, 64, 256, 1024, 4096}) {
          const std::string name = std::string("chain/") +
                                   (engine == veltrax::Engine::fast ? "fast/" : "plain/") +
                                   knobsName(knobs) + "/" + std::to_string(static_cast<int>(rate)) +
                                   "/" + std::to_string(block);
          benchmark::RegisterBenchmark(name.c_str(), runChain,
                                       ChainCase{engine, knobs, rate, block})
              ->Unit(benchmark::kMillisecond);
        }
  veltrax::fast::KernelChoice kernels[4];
  const int count = veltrax::fast::supportedKernels(kernels, 4);
  for (int k = 0; k < count; ++k)
    for (Knobs knobs : {Knobs::steady, Knobs::automation, Knobs::toggle})
      for (int block : {64, 256, 4096}) {
        if (knobs != Knobs::steady && block != 256) continue;
        const std::string name = std::string("chain/fast-") + kernels[k].name + "/" +
                                 knobsName(knobs) + "/48000/" + std::to_string(block);
        benchmark::RegisterBenchmark(name.c_str(), runChainOnKernel,
                                     ChainCase{veltrax::Engine::fast, knobs, 48000.0, block},
                                     kernels[k].run)
            ->Unit(benchmark::kMillisecond);
      }
  return true;
}();

}  // namespace
