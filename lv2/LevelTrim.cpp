#include "lv2/LevelTrim.h"

#include <algorithm>
#include <cmath>

#include "lv2/ControlMapping.h"

namespace veltrax::lv2 {

LevelTrim::LevelTrim(double sampleRate, float defaultDb)
    : rampFrames_(static_cast<uint32_t>(std::max(1.0, std::round(kRampSeconds * sampleRate)))),
      db_(clampTrimDb(defaultDb)),
      from_(trimGain(db_)),
      to_(from_),
      position_(rampFrames_) {}

double LevelTrim::currentGain() const {
  if (position_ >= rampFrames_) return to_;
  return from_ + (to_ - from_) * position_ / rampFrames_;
}

void LevelTrim::apply(double* x, uint32_t frames) {
  const float reading = port_ != nullptr ? *port_ : db_;
  if (reading == reading) {
    const float db = clampTrimDb(reading);
    if (restart_) {
      from_ = to_ = trimGain(db);
      position_ = rampFrames_;
      db_ = db;
    } else if (db != db_) {
      from_ = currentGain();
      to_ = trimGain(db);
      position_ = 0;
      db_ = db;
    }
  }
  restart_ = false;

  uint32_t i = 0;
  for (; i < frames && position_ < rampFrames_; ++i) {
    ++position_;
    x[i] *= from_ + (to_ - from_) * position_ / rampFrames_;
  }
  if (to_ == 1.0) return;  // x * 1.0 is x
  for (; i < frames; ++i) x[i] *= to_;
}

}  // namespace veltrax::lv2
