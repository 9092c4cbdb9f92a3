// The shape of the signal chain, written once: its filter cascades, how many
// sections each has and at which multiple of the sample rate it runs, which
// sections glide, how the fast engine lays the sections out in vector lanes,
// and the pipeline lags that layout gives. The cascade builder, both engines,
// the benchmarks and the tests derive their counts from here; the effect's
// members and the stage tables are tied to it by static_asserts.
//
// Only constants live here (the checks' functions run at compile time alone),
// so the kernels, compiled once per instruction set, can include it without
// sharing code across those copies.
#pragma once

namespace veltrax::chain {

// The cascades in processing order of their tables (the effect's stageFilters order).
enum Cascade : int { kPre = 0, kPost = 1, kPower = 2, kRevise = 3 };
inline constexpr int kCascadeCount = 4;

struct CascadeShape {
  int sections;      // filter sections in series
  int rateMultiple;  // runs at this multiple of the sample rate
};

// pre: at the rate; post: inside the four-times oversampled clipping section;
// power and revise: at the rate.
inline constexpr CascadeShape kCascades[kCascadeCount] = {{4, 1}, {2, 4}, {4, 1}, {8, 1}};

// Oversampling factor of the clipping section (the post cascade's rate multiple).
inline constexpr int kOversampling = kCascades[kPost].rateMultiple;

// The power cascade's sections that the tone knob re-designs while audio runs
// and that glide to the new design: the peaking section, then the high shelf.
inline constexpr int kGlidingCount = 2;
inline constexpr int kTonePeakingSection = 2;
inline constexpr int kToneShelfSection = 3;
inline constexpr int kGlidingSections[kGlidingCount] = {kTonePeakingSection, kToneShelfSection};

// ---------------------------------------------------------------------------
// The fast engine's layout: the full-rate sections in two banks of eight
// lanes. Bank A holds the pre cascade then the power cascade, bank B the
// revise cascade; the post cascade runs as scalars inside the clipping section.
inline constexpr int kLanes = 8;

struct LaneSlot {
  int cascade, section;
};

inline constexpr LaneSlot kBankA[kLanes] = {{kPre, 0},   {kPre, 1},   {kPre, 2},   {kPre, 3},
                                            {kPower, 0}, {kPower, 1}, {kPower, 2}, {kPower, 3}};
inline constexpr LaneSlot kBankB[kLanes] = {{kRevise, 0}, {kRevise, 1}, {kRevise, 2}, {kRevise, 3},
                                            {kRevise, 4}, {kRevise, 5}, {kRevise, 6}, {kRevise, 7}};

// Bank A lane of the first power section; the gliding sections' lanes.
inline constexpr int kPowerLane = kCascades[kPre].sections;
inline constexpr int kGlidingLanes[kGlidingCount] = {kPowerLane + kTonePeakingSection,
                                                     kPowerLane + kToneShelfSection};

// Pipeline lags, in steps: at step s each stage works on sample s - lag.
// Each section is one step behind the one before it; drive and
// interpolation, the shaper and the decimation take one step each.
inline constexpr int kInterpolateLag = kCascades[kPre].sections;
inline constexpr int kShapeLag = kInterpolateLag + 1;
inline constexpr int kDecimateLag = kShapeLag + 1;
inline constexpr int kPowerLag = kDecimateLag + 1;
inline constexpr int kReviseLag = kPowerLag + kCascades[kPower].sections;
inline constexpr int kOutputLag = kReviseLag + kCascades[kRevise].sections;

// Lag of every lane of the two banks (lane k of a cascade: its first lane's lag + k).
inline constexpr double kBankALags[kLanes] = {
    0, 1, 2, 3, kPowerLag, kPowerLag + 1, kPowerLag + 2, kPowerLag + 3};
inline constexpr double kBankBLags[kLanes] = {kReviseLag,     kReviseLag + 1, kReviseLag + 2,
                                              kReviseLag + 3, kReviseLag + 4, kReviseLag + 5,
                                              kReviseLag + 6, kReviseLag + 7};

// Whether the lane layout above holds this shape exactly: every full-rate
// section in one lane, in order; each lane's lag its cascade's lag plus its
// position; the tone sections in bank A's upper half (the kernels glide only
// that half); two post sections and four sub-samples in the clipping section.
// The fast kernels are written for this layout: while it does not hold (a
// cascade got another section count and the layout was not extended), the
// effect runs the plain per-sample loop instead, with the same output.
namespace layout_check {
constexpr bool banksHoldEveryFullRateSection() {
  int seen[kCascadeCount] = {};
  const LaneSlot* const banks[2] = {kBankA, kBankB};
  for (const LaneSlot* bank : banks) {
    for (int lane = 0; lane < kLanes; ++lane) {
      if (bank[lane].section != seen[bank[lane].cascade]) return false;  // in order, once each
      ++seen[bank[lane].cascade];
    }
  }
  for (int c = 0; c < kCascadeCount; ++c)
    if (seen[c] != (kCascades[c].rateMultiple == 1 ? kCascades[c].sections : 0)) return false;
  return true;
}
constexpr bool lagsFollowTheLanes() {
  for (int lane = 0; lane < kLanes; ++lane) {
    const LaneSlot a = kBankA[lane];
    if (kBankALags[lane] != (a.cascade == kPre ? 0 : kPowerLag) + a.section) return false;
    if (kBankBLags[lane] != kReviseLag + kBankB[lane].section) return false;
  }
  return true;
}
constexpr bool toneSectionsGlideInUpperHalf() {
  for (int g = 0; g < kGlidingCount; ++g) {
    const int lane = kGlidingLanes[g];
    if (lane < kLanes / 2 || lane >= kLanes) return false;
    if (kBankA[lane].cascade != kPower || kBankA[lane].section != kGlidingSections[g]) return false;
  }
  return true;
}
}  // namespace layout_check

inline constexpr bool kFastLayoutFits =
    layout_check::banksHoldEveryFullRateSection() && layout_check::lagsFollowTheLanes() &&
    layout_check::toneSectionsGlideInUpperHalf() && kPowerLane == kLanes / 2 &&
    kCascades[kPost].sections == 2 && kOversampling == 4;

}  // namespace veltrax::chain
