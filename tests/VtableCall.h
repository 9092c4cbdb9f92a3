// Calls a virtual operation of an object by its slot number, the way a host
// that knows only the table layout does: read the object's virtual-table
// pointer, take the function address in slot `slot`, call it with the object
// as its first (hidden) argument. Slots 0 and 1 are the two destructors.
//
// Works for classes on a single-inheritance chain, where the object address
// is the address of its virtual-table pointer.
#pragma once

#include <cstddef>
#include <cstring>

template <typename Result, typename... Args>
Result callVirtualSlot(void* object, std::size_t slot, Args... args) {
  using Function = Result (*)(void*, Args...);
  const void* const* table = *static_cast<const void* const* const*>(object);
  Function function;
  std::memcpy(&function, &table[slot], sizeof(function));
  return function(object, args...);
}

// Slot number of a virtual member function, read from its pointer-to-member
// representation: for a virtual function the first word holds 1 plus the
// byte offset of its slot.
template <typename MemberFunction>
std::size_t slotOf(MemberFunction member) {
  static_assert(sizeof(member) == 2 * sizeof(std::size_t), "two-word member pointer");
  std::size_t word;
  std::memcpy(&word, &member, sizeof(word));
  return (word - 1) / sizeof(void*);
}
