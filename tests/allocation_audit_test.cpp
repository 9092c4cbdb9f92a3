// Allocation audit of the shipped module: every malloc and operator new in
// the process is counted (per thread), the module is driven through its
// record as a host's audio thread would, and steady processing must not
// touch the heap at all, whatever the host does between blocks. The heap is
// touched only when a block is longer than any before and when the sample
// rate changes.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "support/AllocationCounter.h"
#include "support/ModuleHost.h"

using namespace testhost;
using veltrax::test::AllocationCounts;
using veltrax::test::CountAllocations;

namespace {

constexpr int32_t kLongest = 2048;

class AllocationAudit : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!veltrax::test::allocationCountingWorks()) GTEST_SKIP() << "allocator replaced (valgrind?)";
  }

  // One block straight through the record: no host-side allocation.
  void block(const Instance& fx, int32_t n, bool inPlace = false) {
    double* input = in.data();
    double* output = inPlace ? in.data() : out.data();
    fx.record()->processDoubleReplacing(fx.record(), &input, &output, n);
  }

  template <typename Action>
  static AllocationCounts counted(Action action) {
    CountAllocations audit;
    action();
    return audit.counts();
  }

  Module module;
  std::vector<double> in = noise(0.5, kLongest, 5), out = std::vector<double>(kLongest);
};

// What a host does between blocks of steady processing, one kind per block.
void automate(const Instance& fx, int step) {
  char text[kProgramNameBufferSize];
  const float value = static_cast<float>(step % 11) / 10.0f;
  const int kind = step % 8;
  if (kind < 3) {
    fx.setParameter(1 + kind, value);  // volume ramp, tone glide, sustain ramp
  } else if (kind == 3) {
    fx.setParameter(0, step % 16 < 8 ? 0.0f : 1.0f);  // On/Off fade
  } else if (kind == 4) {
    fx.setProgramLong(step % 16);
  } else if (kind == 5) {
    fx.dispatch(effSetProgram, 0, step % 16);
  } else if (kind == 6) {
    fx.getParameter(step % 4);
    fx.dispatch(effGetParamDisplay, step % 4, 0, text);
    callVirtualSlot<void, int32_t, float, char*>(fx.object(), kSlotGetParameterDisplayOf, step % 4,
                                                 value, text);
  } else {
    fx.dispatch(effGetProgramName, 0, 0, text);
  }
}

TEST_F(AllocationAudit, SteadyProcessingWithAutomationAllocatesNothing) {
  static constexpr int32_t kLengths[] = {kLongest, 1, 512, 17, 2, 1000, kLongest - 1, 64};
  Instance fx(module);
  fx.setSampleRate(48000.0f);
  block(fx, kLongest);  // the buffers grow to the longest block once

  int blocks = 0;
  const auto counts = counted([&] {
    for (; blocks < 4000; ++blocks) {
      automate(fx, blocks);
      block(fx, kLengths[blocks % 8], blocks % 3 == 0);
    }
  });
  EXPECT_EQ(counts.allocations, 0u) << counts.bytes << " bytes over " << blocks << " blocks";
  EXPECT_EQ(counts.deallocations, 0u);
}

// One instance through a host's life; each step states whether it may
// allocate. `balanced`: it frees as many blocks as it allocates (a rebuild
// replaces everything it built before and leaks nothing).
TEST_F(AllocationAudit, OnlyLongerBlocksAndRateChangesAllocate) {
  Instance fx(module);
  struct Step {
    const char* what;
    std::function<void()> action;
    bool allocates;
    bool balanced;
  };
  float single[8] = {};
  float* singles = single;
  const Step steps[] = {
      {"block before any rate", [&] { block(fx, 256); }, false, true},
      {"first rate", [&] { fx.setSampleRate(44100.0f); }, true, false},
      {"same rate again", [&] { fx.setSampleRate(44100.0f); }, false, true},
      {"invalid rates",
       [&] {
         fx.setSampleRate(0.0f), fx.setSampleRate(-1.0f), fx.setSampleRate(62.4f),
             fx.setSampleRate(3e9f);
       },
       false, true},
      {"first block", [&] { block(fx, 256); }, true, false},
      {"same length", [&] { block(fx, 256); }, false, true},
      {"shorter block", [&] { block(fx, 100); }, false, true},
      {"longer block", [&] { block(fx, kLongest); }, true, true},
      {"every length up to the longest",
       [&] {
         for (int32_t n = 1; n <= kLongest; n += 97) block(fx, n);
       },
       false, true},
      {"empty and negative blocks", [&] { block(fx, 0), block(fx, -1), block(fx, -5); }, false,
       true},
      {"single-precision block",
       [&] { fx.record()->processReplacing(fx.record(), &singles, &singles, 8); }, false, true},
      {"rate change", [&] { fx.setSampleRate(96000.0f); }, true, true},
      {"first block after the rate change", [&] { block(fx, kLongest); }, false, true},
      {"rate change back", [&] { fx.setSampleRate(44100.0f); }, true, true},
  };
  for (const Step& step : steps) {
    const AllocationCounts counts = counted(step.action);
    EXPECT_EQ(counts.allocations > 0, step.allocates) << step.what << ": " << counts.allocations;
    if (step.balanced) {
      EXPECT_EQ(counts.allocations, counts.deallocations) << step.what;
    }
  }
}

}  // namespace
