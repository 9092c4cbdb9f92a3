// VELTRAX instance: construction, destruction and the fixed identity answers.
#include "effect/VELTRAX.h"

#include <cstring>

Clipper VELTRAX::clip;  // zero until the first sample-rate setup builds it
std::atomic<double> VELTRAX::clipSampleRate{-1.0};

VELTRAX::VELTRAX(audioMasterCallback audioMaster)
    : Q_TypeBase(audioMaster, kNumPrograms, kNumParams) {
  // The lock and the member values are set by their initialisers, in
  // declaration order; every DSP object stays absent until setSampleRate.
  canDoubleReplacing(true);
  programs = new VELTRAXProgram[kNumPrograms];  // on failure the lock and bases unwind
  for (auto& value : paramValues) value.store(1.0f, std::memory_order_relaxed);
  VELTRAX::setProgram(0L);  // load program 0 under the lock, not through the vtable
  cEffect.uniqueID = kUniqueID;
  cEffect.numInputs = 1;
  cEffect.numOutputs = 1;
}

VELTRAX::~VELTRAX() {
  releaseCascades();
  releaseSwitchRecord();
  delete[] blockBuffer;
  delete[] programs;
  releaseTapers();
  // paramLock is destroyed after this body, then the base classes.
}

// The three groups of rate-dependent objects; each release leaves its
// pointers null, so a failed rebuild never keeps a pointer to freed memory.
void VELTRAX::releaseCascades() {
  for (int c = 0; c < veltrax::chain::kCascadeCount; ++c) {  // pre, post, power, revise
    if (!stageFilters[c]) continue;
    for (int32_t i = 0; i < stageFilterCount[c]; ++i) delete stageFilters[c][i];
    delete[] stageFilters[c];
    stageFilters[c] = nullptr;
  }
}

void VELTRAX::releaseSwitchRecord() {
  destroySwitchRecord(switchRecord);
  switchRecord = nullptr;
}

void VELTRAX::releaseTapers() {
  KnobTaper** tapers[] = {&sustainTaper,
                          &volumeTaper,
                          &toneTapers[kTonePeakingFrequency],
                          &toneTapers[kTonePeakingGain],
                          &toneTapers[kToneShelfGain],
                          &toneTapers[kToneLevel]};
  for (KnobTaper** taper : tapers) {
    if (!*taper) continue;
    delete[](*taper)->coefs;
    delete *taper;
    *taper = nullptr;
  }
}

void VELTRAX::resume() {}

void VELTRAX::processReplacing(float**, float**, int32_t) {}

bool VELTRAX::getEffectName(char* name) {
  std::strncpy(name, "VELTRAX", 32);
  name[32] = 0;
  return true;
}

bool VELTRAX::getProductString(char* text) {
  std::strncpy(text, "VELTRAX", 64);
  text[64] = 0;
  return true;
}

int32_t VELTRAX::getVendorVersion() { return 1000; }
int32_t VELTRAX::getPlugCategory() { return 1; }  // an effect

int32_t VELTRAX::getNumOfInJacks() { return 1; }
int32_t VELTRAX::getNumOfOutJacks() { return 1; }
int32_t VELTRAX::getNumOfInSig(int32_t) { return 1; }
int32_t VELTRAX::getNumOfOutSig(int32_t) { return 1; }
int32_t VELTRAX::getStartNumInSig(int32_t) { return 0; }
int32_t VELTRAX::getStartNumOutSig(int32_t) { return 0; }
int32_t VELTRAX::getDryInSigNum() { return -1; }  // no dry input signal
