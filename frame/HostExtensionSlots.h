// Positions of the maker's host-extension operations in the effect object's
// virtual table (Itanium C++ ABI: two destructor slots, the base's 49 other
// operations, the extended class's 102 at 51..152, then these). A host calls
// them on AEffect::object with the object as the first argument.
#pragma once

enum HostExtensionSlot : int {
  kSlotGetNumOfInJacks = 153,        // () -> int32_t
  kSlotGetNumOfOutJacks = 154,       // () -> int32_t
  kSlotGetNumOfInSig = 155,          // (int32_t jack) -> int32_t
  kSlotGetNumOfOutSig = 156,         // (int32_t jack) -> int32_t
  kSlotGetStartNumInSig = 157,       // (int32_t jack) -> int32_t
  kSlotGetStartNumOutSig = 158,      // (int32_t jack) -> int32_t
  kSlotGetDryInSigNum = 159,         // () -> int32_t, -1 for none
  kSlotSetListner = 160,             // (Q_VstListner*)
  kSlotGetParameterDisplayOf = 161,  // (int32_t index, float value, char* text)
  kSlotGetHeaderVersion = 162,       // () -> int32_t
  kSlotSetTime = 163,                // (float time)
  kSlotSetProgramLong = 164,         // (long program): the effect's own program change
};
