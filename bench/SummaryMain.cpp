// veltrax_bench_summary: runs the headline subset of the benchmarks (median
// of repetitions, CPU time) and prints one table: the whole chain through the
// binary interface per rate and block length, steady knobs against knob
// automation and On/Off toggling, the plain loop for comparison, and the
// per-stage costs. Extra arguments go to Google Benchmark (for instance
// --benchmark_repetitions=9).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "dsp/FastChainState.h"

namespace {

// Collects the median ns_per_sample of every benchmark that ran.
class MedianCollector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Aggregate || run.aggregate_name != "median") continue;
      const auto counter = run.counters.find("ns_per_sample");
      if (counter != run.counters.end()) nsPerSample[run.run_name.str()] = counter->second.value;
    }
  }
  std::map<std::string, double> nsPerSample;
};

const int kRates[] = {44100, 48000, 96000};
const int kBlocks[] = {1, 16, 64, 256, 1024, 4096};

std::string chain(const char* engine, const char* knobs, int rate, int block) {
  return std::string("chain/") + engine + "/" + knobs + "/" + std::to_string(rate) + "/" +
         std::to_string(block);
}

double realtime(double ns, int rate) { return 1e9 / (ns * rate); }

void printTable(const std::map<std::string, double>& ns) {
  auto get = [&](const std::string& name) {
    const auto it = ns.find(name);
    return it == ns.end() ? -1.0 : it->second;
  };
  veltrax::fast::KernelChoice best;
  const bool fastKernel = veltrax::fast::supportedKernels(&best, 1) > 0;
  std::printf(
      "\nVELTRAX benchmark summary: ns per sample (x real-time), CPU time, median of the\n"
      "repetitions; one mono instance, 110 Hz sawtooth at half scale; fast kernel: %s\n\n",
      fastKernel ? best.name : "none (the plain loop)");

  std::printf("Whole chain through the AEffect record, fast engine, steady knobs\n");
  std::printf("%8s", "block");
  for (int rate : kRates) std::printf("  %19d Hz", rate);
  std::printf("\n");
  for (int block : kBlocks) {
    std::printf("%8d", block);
    for (int rate : kRates) {
      const double v = get(chain("fast", "steady", rate, block));
      std::printf("  %10.2f (%6.0fx)", v, realtime(v, rate));
    }
    std::printf("\n");
  }

  const double steady = get(chain("fast", "steady", 48000, 256));
  std::printf("\n48000 Hz, blocks of 256\n");
  const struct {
    const char* label;
    std::string name;
  } rows[] = {{"fast, steady knobs", chain("fast", "steady", 48000, 256)},
              {"fast, automation every block", chain("fast", "automation", 48000, 256)},
              {"fast, On/Off toggling", chain("fast", "toggle", 48000, 256)},
              {"plain, steady knobs", chain("plain", "steady", 48000, 256)},
              {"plain, automation every block", chain("plain", "automation", 48000, 256)}};
  auto printRow = [&](const std::string& label, double v) {
    std::printf("  %-42s %8.2f ns/sample %7.0fx real-time  %5.2f x fast steady\n", label.c_str(), v,
                realtime(v, 48000), v / steady);
  };
  for (const auto& row : rows) printRow(row.label, get(row.name));
  // chain/fast-<kernel>/<knobs>/48000/<block>
  for (const auto& [name, v] : ns)
    if (name.rfind("chain/fast-", 0) == 0) {
      const size_t kernelEnd = name.find('/', 11), knobsEnd = name.find('/', kernelEnd + 1);
      const std::string kernel = name.substr(11, kernelEnd - 11);
      const std::string knobs = name.substr(kernelEnd + 1, knobsEnd - kernelEnd - 1);
      const std::string block = name.substr(name.rfind('/') + 1);
      printRow(kernel + " kernel, " + knobs + ", blocks of " + block, v);
    }

  // multistream/<kernel>/<streams>/<threads>/48000/256 against one fast instance.
  const double single = get("multistream/single-fast/48000/256");
  std::printf("\nMulti-stream engine, 48000 Hz, blocks of 256, wall time per stream-sample\n");
  for (const auto& [name, v] : ns)
    if (name.rfind("multistream/", 0) == 0 && name != "multistream/single-fast/48000/256")
      std::printf("  %-42s %8.2f ns  %5.2f x one fast instance (%.2f ns)\n", name.c_str(), v,
                  single / v, single);

  std::printf("\nStages, ns per input sample at 48000 Hz\n");
  for (const auto& [name, v] : ns)
    if (name.rfind("stage/", 0) == 0) std::printf("  %-32s %8.2f\n", name.c_str(), v);
  std::printf("\n");
}

std::string summaryFilter() {
  std::string f =
      "^(stage/.*|chain/fast-.*|multistream/single-fast/.*|multistream/[a-z0-9-]+/(8|16)/"
      ".*|multistream/ceiling-avx2/4/.*";
  for (int rate : kRates)
    for (int block : kBlocks) f += "|" + chain("fast", "steady", rate, block);
  for (const char* name : {"fast/automation", "fast/toggle", "plain/steady", "plain/automation"})
    f += std::string("|chain/") + name + "/48000/256";
  return f + ")$";
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args = {argv[0], "--benchmark_filter=" + summaryFilter(),
                                   "--benchmark_repetitions=5", "--benchmark_min_time=0.1",
                                   "--benchmark_report_aggregates_only=true"};
  for (int i = 1; i < argc; ++i) args.emplace_back(argv[i]);
  std::vector<char*> argvBench;
  for (std::string& a : args) argvBench.push_back(a.data());
  int argcBench = static_cast<int>(argvBench.size());
  benchmark::Initialize(&argcBench, argvBench.data());

  std::fprintf(stderr, "veltrax_bench_summary: running the benchmarks (about half a minute)...\n");
  MedianCollector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  printTable(collector.nsPerSample);
  benchmark::Shutdown();
  return 0;
}
