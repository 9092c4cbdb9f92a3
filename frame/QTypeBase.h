// Q_TypeBase: the host-extension layer between AudioEffectX and an effect.
// A host of this extension reaches the eleven operations below by their
// position in the virtual table, directly behind AudioEffectX's last one:
// getNumOfInJacks is slot 153, setTime slot 163. Never insert, remove or
// reorder them; an effect's own first new virtual lands at slot 164.
#pragma once

#include <cstdint>

#include "frame/AudioEffectX.h"

// Listener object a host of the extension may offer. Only pointers to it
// travel; nothing here looks inside it.
class Q_VstListner;

class Q_TypeBase : public AudioEffectX {
 public:
  Q_TypeBase(audioMasterCallback audioMaster, int32_t numPrograms, int32_t numParams);
  ~Q_TypeBase() override = default;

  // Host asks how many input / output jacks the effect has.
  virtual int32_t getNumOfInJacks() { return 1; }
  virtual int32_t getNumOfOutJacks() { return 1; }
  // Host asks how many signals a jack carries.
  virtual int32_t getNumOfInSig(int32_t /*jack*/) { return 2; }
  virtual int32_t getNumOfOutSig(int32_t /*jack*/) { return 1; }
  // Host asks the number of a jack's first signal.
  virtual int32_t getStartNumInSig(int32_t /*jack*/) { return 0; }
  virtual int32_t getStartNumOutSig(int32_t /*jack*/) { return 0; }
  // Host asks which input signal carries the dry signal; -1 for none.
  virtual int32_t getDryInSigNum() { return -1; }
  // Host offers its listener; the base keeps none.
  virtual void setListner(Q_VstListner* listener) { (void)listener; }
  // Host asks the display text parameter `index` would show for `value`
  // (normalised 0..1) without changing the parameter; buffer of at least 9 bytes.
  virtual void getParameterDisplayOf(int32_t /*index*/, float /*value*/, char* /*text*/) {}
  // Host asks the version of this extension the effect was built against.
  virtual int32_t getHeaderVersion() { return headerVersion; }
  // Host passes a time value; the base ignores it.
  virtual void setTime(float time) { (void)time; }

 protected:
  double volumeRangeLow;  // low end point of the volume taper; 0.0
  int32_t headerVersion;  // 1
};
