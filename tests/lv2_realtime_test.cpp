// run() allocates nothing for any block up to the reservation made at
// instantiate, with controls moving and On/Off toggling between blocks (a
// longer block growing them is the module's, audited in
// allocation_audit_test, whose allocating steps also show that the counter
// sees allocations at all).
#include <gtest/gtest.h>

#include <vector>

#include "lv2_test_support.h"
#include "support/AllocationCounter.h"

namespace {

using veltrax::test::AllocationCounts;
using veltrax::test::CountAllocations;

// Block lengths 1..64, then a sweep up to `reserve`, with control moves.
std::vector<lv2test::Block> auditPlan(uint32_t reserve) {
  std::vector<lv2test::Block> plan;
  for (uint32_t n = 1; n <= 64; ++n) plan.push_back({n, {}});
  for (uint32_t n = 65; n < reserve; n = n * 3 / 2 + 7) plan.push_back({n, {}});
  plan.push_back({reserve, {}});
  plan.push_back({1, {}});
  const std::vector<std::vector<lv2test::ControlChange>> moves = {
      {{"tone", 8.0f}},
      {{"sustain", 9.5f}, {"volume", 3.0f}},
      {{"enabled", 0.0f}},
      {{"tone", 1.0f}},
      {{"enabled", 1.0f}},
      {{"volume", 10.0f}, {"tone", 6.0f}},
      {{"input", 12.0f}, {"output", -6.0f}}};
  for (size_t m = 0; m < moves.size(); ++m) plan[(m * 11 + 3) % plan.size()].changes = moves[m];
  return plan;
}

TEST(Lv2RealTime, RunAllocatesNothingUpToTheReservation) {
  if (!veltrax::test::allocationCountingWorks()) GTEST_SKIP() << "allocator not interposed";
  // A host stating bufsz:maxBlockLength 4096, and one offering no features
  // (the plug-in then reserves 8192 frames).
  for (const bool features : {true, false}) {
    const char* what = features ? "maxBlockLength 4096" : "no host features";
    const std::vector<lv2test::Block> plan = auditPlan(features ? 4096 : 8192);
    size_t frames = 0;
    for (const lv2test::Block& block : plan) frames += block.length;
    const std::vector<float> input = lv2test::guitarLike(48000.0, frames);
    std::vector<float> output(input.size());
    auto plugin = lv2test::makeInstance(48000.0, features ? 4096 : 0, features);
    ASSERT_NE(plugin, nullptr);
    plugin->activate();

    size_t at = 0;
    for (const lv2test::Block& block : plan) {
      for (const auto& change : block.changes) plugin->setControl(change.symbol, change.dial);
      CountAllocations audit;
      plugin->run(input.data() + at, output.data() + at, block.length);
      const AllocationCounts counts = audit.counts();
      ASSERT_EQ(counts.allocations, 0u) << what << ": run(" << block.length << ")";
      ASSERT_EQ(counts.deallocations, 0u) << what << ": run(" << block.length << ")";
      at += block.length;
    }
  }
}

}  // namespace
