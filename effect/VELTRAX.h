// VELTRAX: the effect class behind the module's AEffect record. A mono fuzz
// pedal model: one double-precision input, one output, four parameters
// ("On/Off", "volume", "tone", "sustain") and sixteen programs.
//
// Threads: the host's audio thread runs processDoubleReplacing, which holds
// paramLock for the whole block; control threads may call setParameter and
// setProgram(long) at any time (each store under paramLock); setSampleRate
// runs only while processing is stopped. Values read without the lock
// (paramValues, curProgram) are relaxed atomics of the same size.
#pragma once

#include <atomic>
#include <cstdint>

#include "dsp/ChainShape.h"
#include "dsp/Clipper.h"
#include "dsp/ControlRamps.h"
#include "dsp/IIRFilter.h"
#include "dsp/KnobTaper.h"
#include "dsp/SwitchRecord.h"
#include "effect/InternalControl.h"
#include "effect/RecursiveMutex.h"
#include "effect/VELTRAXProgram.h"
#include "frame/QTypeBase.h"

namespace veltrax::fast {
struct ChainState;
struct Block;
}  // namespace veltrax::fast

class VELTRAX : public Q_TypeBase {
 public:
  static constexpr int32_t kNumPrograms = 16;
  static constexpr int32_t kNumParams = 4;
  static constexpr int32_t kUniqueID = 0x4D4A434D;  // 'M','J','C','M'
  enum Param : int32_t { kOnOff = 0, kVolume = 1, kTone = 2, kSustain = 3 };
  // The cascades of stageFilters (dsp/ChainShape.h).
  enum Cascade : int {
    kPre = veltrax::chain::kPre,
    kPost = veltrax::chain::kPost,
    kPower = veltrax::chain::kPower,
    kRevise = veltrax::chain::kRevise
  };

  explicit VELTRAX(audioMasterCallback audioMaster);
  ~VELTRAX() override;

  // Host calls on open/resume: nothing in the chain is reset.
  void resume() override;
  // Host calls with processing stopped; builds every rate-dependent object (no lock).
  void setSampleRate(float sampleRate) override;
  // Single-precision blocks are neither read nor written.
  void processReplacing(float** inputs, float** outputs, int32_t sampleFrames) override;
  // Audio thread, one block; holds paramLock for the whole block.
  void processDoubleReplacing(double** inputs, double** outputs, int32_t sampleFrames) override;

  // Any thread; stores under paramLock.
  void setParameter(int32_t index, float value) override;
  // Any thread; no lock.
  float getParameter(int32_t index) override;
  // Control thread, one at a time (the host serialises renames).
  void setProgramName(char* name) override;
  void getProgramName(char* name) override;
  // Any thread; texts of at most 8 characters into 9-byte host buffers.
  void getParameterLabel(int32_t index, char* label) override;
  void getParameterDisplay(int32_t index, char* text) override;
  void getParameterName(int32_t index, char* text) override;
  bool getParameterProperties(int32_t index, VstParameterProperties* properties) override;
  bool getProgramNameIndexed(int32_t category, int32_t index, char* text) override;
  // Identity queries: constant answers, no lock.
  bool getEffectName(char* name) override;
  bool getProductString(char* text) override;
  int32_t getVendorVersion() override;
  int32_t getPlugCategory() override;

  // Host-extension queries (reached by vtable position).
  int32_t getNumOfInJacks() override;
  int32_t getNumOfOutJacks() override;
  int32_t getNumOfInSig(int32_t jack) override;
  int32_t getNumOfOutSig(int32_t jack) override;
  int32_t getStartNumInSig(int32_t jack) override;
  int32_t getStartNumOutSig(int32_t jack) override;
  int32_t getDryInSigNum() override;
  void getParameterDisplayOf(int32_t index, float value, char* text) override;

  // The host extension's program change, the slot right after setTime: makes
  // program `index` current and loads its values, one locked store per
  // parameter. Indexes outside 0..15 are ignored.
  virtual void setProgram(long index);
  using AudioEffect::setProgram;

  // Internal (not part of the host interface): see effect/InternalControl.h.
  bool reserveBlockCapacity(int32_t frames);
  void selectEngine(veltrax::Engine engine);

  // Internal, for engines that run the per-sample loop of several instances
  // at once (dsp/multistream). The instance belongs to that engine's thread,
  // which calls these in order for every block, with flush-to-zero set:
  // beginBlock does what a block does before its per-sample loop (knob
  // changes, glides, ramps, the switch's gains) and is false when the block
  // must pass its input through unchanged; captureChain copies the running
  // state out (false: the chain does not have the kernels' shape);
  // describeBlock fills the block's gains, path choices, ramps and clipping
  // table; restoreChain takes the state back; endBlock adopts the knobs.
  bool beginBlock(int32_t n, ControlRamps& ramps);
  void runChain(const double* in, double* out, int32_t n,
                const ControlRamps& ramps);  // the selected engine
  bool captureChain(veltrax::fast::ChainState& state) const;
  void describeBlock(const ControlRamps& ramps, veltrax::fast::Block& block) const;
  void restoreChain(const veltrax::fast::ChainState& state);
  void endBlock(int32_t n);

  // The shared clipping table and the rate it was last built for.
  static Clipper clip;
  static std::atomic<double> clipSampleRate;

 private:
  void writeParameterDisplay(int32_t index, float value, char* text);
  bool ensureBlockCapacity(int32_t frames);
  void releaseCascades();
  void releaseSwitchRecord();
  void releaseTapers();
  void rebuildForRate(double sr);
  void buildCascades(double sr);
  void buildTapers();
  void applyKnobChanges(int32_t n);
  void runSignalChain(const double* in, double* out, int32_t n, const ControlRamps& ramps);
  void runSignalChainFast(const double* in, double* out, int32_t n, const ControlRamps& ramps);
  bool fastChainApplies() const;  // the cascades have the shape the fast kernels expect
  IIRFilter& sectionIn(veltrax::chain::LaneSlot slot) const;

  // Members in the declared order of the circuit model.
  RecursiveMutex paramLock;
  VELTRAXProgram* programs = nullptr;
  double filterSampleRate = -1.0;
  int32_t stageFilterCount[4] = {
      veltrax::chain::kCascades[kPre].sections, veltrax::chain::kCascades[kPost].sections,
      veltrax::chain::kCascades[kPower].sections, veltrax::chain::kCascades[kRevise].sections};
  double osUpState[6] = {};
  double osDownState[6] = {};
  IIRFilter** stageFilters[4] = {nullptr, nullptr, nullptr, nullptr};
  bool switchInitPending = true;
  SwitchRecord* switchRecord = nullptr;
  double* blockBuffer = nullptr;
  int32_t blockBufferLength = 0;
  std::atomic<float> paramValues[4] = {{1.0f}, {1.0f}, {1.0f}, {1.0f}};
  float appliedVolume = -1.0f, appliedTone = -1.0f, appliedSustain = -1.0f;
  KnobTaper* sustainTaper = nullptr;
  KnobTaper* volumeTaper = nullptr;
  double volumeValue = 1.0, volumeValuePrev = 0.0;
  KnobTaper* toneTapers[4] = {nullptr, nullptr, nullptr, nullptr};
  double osFeedback[5] = {};
  double osFeedforward[6] = {};
  double sustainValue = 1.0, sustainValuePrev = 0.0;
  double toneValue = 1.0, toneValuePrev = 0.0;
  double outputLevel = 0.35;         // fixed output factor, linear
  double toneGainLow = 0.188364909;  // tone level at tone 1 (-14.5 dB), linear
  double toneGainHigh = 1.0;         // tone level at tone 0, linear
  double toneRangeLow = 390.0;       // peaking frequency at tone 1, Hz
  double toneRangeHigh = 2100.0;     // peaking frequency at tone 0, Hz

  // Grow-only capacity of blockBuffer (samples): blocks up to it allocate nothing.
  int32_t blockBufferCapacity = 0;
  veltrax::Engine engine = veltrax::Engine::fast;

  // The members sized by the chain's shape hold exactly that shape.
  static_assert(sizeof(stageFilterCount) / sizeof(stageFilterCount[0]) ==
                veltrax::chain::kCascadeCount);
  static_assert(sizeof(stageFilters) / sizeof(stageFilters[0]) == veltrax::chain::kCascadeCount);
  static_assert(sizeof(toneTapers) / sizeof(toneTapers[0]) == kToneTaperCount);
};
