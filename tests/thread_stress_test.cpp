// Thread stress: one audio thread processes blocks of changing length while
// four control threads hammer the same instance with parameter writes,
// program switches (both kinds), reads, displays and name queries. Run under
// ThreadSanitizer (the tsan preset) it proves the instance free of data
// races; in every build it checks that each value read is one some thread
// wrote, that every text is well formed, and that the audio stays finite and
// bounded for finite input.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <thread>

#include "support/ModuleHost.h"
#include "support/OutputBound.h"
#include "support/RunLength.h"

using namespace testhost;

namespace {

constexpr int kControlThreads = 4;
constexpr int kSteps = 256;  // every value written is j / 256, j = 0 .. 256

float writtenValue(int j) { return static_cast<float>(j) / kSteps; }

bool isWrittenValue(float v) {
  const float scaled = v * kSteps;
  return scaled >= 0.0f && scaled <= kSteps && scaled == std::floor(scaled);
}

// Failures seen on any thread, with the first message kept for the report.
struct Failures {
  std::mutex lock;
  int count = 0;  // read after the threads are joined
  std::string first;

  void add(const std::string& message) {
    std::lock_guard<std::mutex> hold(lock);
    if (count++ == 0) first = message;
  }
};

// Every text a display may show, taken from a quiet instance beforehand.
struct ExpectedTexts {
  std::set<std::string> displays[4];
  std::string names[4];
  std::set<std::string> programNames;

  explicit ExpectedTexts(const Module& module) {
    Instance quiet(module);
    char text[kParamTextBufferSize];
    for (int32_t p = 0; p < 4; ++p) {
      for (int j = 0; j <= kSteps; ++j) {
        callVirtualSlot<void, int32_t, float, char*>(quiet.object(), kSlotGetParameterDisplayOf, p,
                                                     writtenValue(j), text);
        displays[p].insert(text);
      }
      names[p] = quiet.text(effGetParamName, p, kParamTextBufferSize);
    }
    for (int program = 1; program <= 16; ++program)
      programNames.insert("Init " + std::to_string(program));
  }
};

// A host text query into a buffer of exactly the size hosts give, so that
// a sanitizer build catches any write beyond it; false if unterminated.
bool queryText(const Instance& fx, int32_t opcode, int32_t index, size_t size, std::string& text) {
  auto buffer = std::make_unique<char[]>(size);
  std::memset(buffer.get(), 0x7f, size);
  fx.dispatch(opcode, index, 0, buffer.get());
  if (!std::memchr(buffer.get(), 0, size)) return false;
  text = buffer.get();
  return true;
}

// Waits until every thread has arrived, so that all of them run at once.
class StartLine {
 public:
  explicit StartLine(int threads) : waiting_(threads) {}
  void arriveAndWait() {
    waiting_.fetch_sub(1);
    while (waiting_.load() > 0) std::this_thread::yield();
  }

 private:
  std::atomic<int> waiting_;
};

void controlThread(const Instance& fx, const ExpectedTexts& expected, int64_t iterations,
                   uint32_t seed, StartLine& start, Failures& failures) {
  std::mt19937 rng(seed);
  std::uniform_int_distribution<int> op(0, 8), param(0, 3), step(0, kSteps), program(0, 15);
  std::string text;
  start.arriveAndWait();
  for (int64_t i = 0; i < iterations; ++i) {
    const int32_t p = param(rng);
    switch (op(rng)) {
      case 0:
      case 1:
        fx.setParameter(p, writtenValue(step(rng)));
        break;
      case 2:
        fx.setProgramLong(program(rng));
        break;
      case 3:
        fx.dispatch(effSetProgram, 0, program(rng));
        break;
      case 4:
        if (!isWrittenValue(fx.getParameter(p)))
          failures.add("parameter " + std::to_string(p) + " read " +
                       std::to_string(fx.getParameter(p)));
        break;
      case 5:
        if (!queryText(fx, effGetParamDisplay, p, kParamTextBufferSize, text) ||
            !expected.displays[p].count(text))
          failures.add("display of parameter " + std::to_string(p) + ": '" + text + "'");
        break;
      case 6:
        if (!queryText(fx, effGetParamName, p, kParamTextBufferSize, text) ||
            text != expected.names[p])
          failures.add("name of parameter " + std::to_string(p) + ": '" + text + "'");
        break;
      case 7: {
        const intptr_t current = fx.dispatch(effGetProgram);
        if (current < 0 || current > 15) failures.add("current program " + std::to_string(current));
        if (!queryText(fx, effGetProgramName, 0, kProgramNameBufferSize, text) ||
            !expected.programNames.count(text))
          failures.add("program name '" + text + "'");
        break;
      }
      default:
        if (!queryText(fx, effGetProgramNameIndexed, program(rng), kProgramNameBufferSize, text) ||
            text != "Init")
          failures.add("indexed program name '" + text + "'");
        break;
    }
  }
}

void audioThread(const Instance& fx, int64_t blocks, StartLine& start, Failures& failures) {
  static constexpr int32_t kLengths[] = {1, 64, 100, 31, 256, 480, 1024, 2048, 2};
  const auto in = noise(0.8, 4096, 3);
  std::vector<double> out(in.size());
  start.arriveAndWait();
  for (int64_t b = 0; b < blocks; ++b) {
    const int32_t n = kLengths[b % (sizeof kLengths / sizeof kLengths[0])];
    double* input = const_cast<double*>(in.data());
    double* output = out.data();
    fx.record()->processDoubleReplacing(fx.record(), &input, &output, n);
    for (int32_t i = 0; i < n; ++i)
      if (!std::isfinite(output[i]) || !withinOutputBound(in[i], output[i])) {
        failures.add("block " + std::to_string(b) + " sample " + std::to_string(i) + ": " +
                     std::to_string(output[i]));
        break;
      }
  }
}

TEST(ThreadStress, AudioAndFourControlThreadsOnOneInstance) {
  const int64_t iterations = runLength(1000000, 100000);
  const int64_t blocks = runLength(100000, 10000);
  Module module;
  const ExpectedTexts expected(module);
  Instance fx(module);
  fx.setSampleRate(48000.0f);

  StartLine start(kControlThreads + 1);
  Failures failures;
  std::vector<std::thread> threads;
  threads.emplace_back(audioThread, std::cref(fx), blocks, std::ref(start), std::ref(failures));
  for (int t = 0; t < kControlThreads; ++t)
    threads.emplace_back(controlThread, std::cref(fx), std::cref(expected), iterations, 100u + t,
                         std::ref(start), std::ref(failures));
  for (auto& thread : threads) thread.join();

  EXPECT_EQ(failures.count, 0) << "first: " << failures.first;
}

}  // namespace
