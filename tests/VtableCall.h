// Calls a virtual operation of an object by its slot number, the way a host
// that knows only the table layout does: read the object's virtual-table
// pointer, take the function address in slot `slot`, call it with the object
// as its first (hidden) argument. Slots 0 and 1 are the two destructors.
// For single-inheritance classes, whose object address is that of the
// virtual-table pointer.
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
