// One program (preset) of the effect: the four parameter values and a name.
#pragma once

#include <cstring>

class VELTRAXProgram {
 public:
  static constexpr int kNameSize = 24;  // 23 characters and the terminator

  VELTRAXProgram() { std::strcpy(name, "Init"); }
  virtual ~VELTRAXProgram() = default;

  // Indexed like the parameters: 0 "On/Off", 1 "volume", 2 "tone", 3 "sustain".
  float values[4] = {1.0f, 0.5f, 0.5f, 0.5f};
  char name[kNameSize];
};
