// Memory for code that runs in a dying process: reading what may not be there, and room outside the heap.
#pragma once

#include <cstddef>

namespace zar::platform {

/// Copies `length` bytes of this process from `address` on, without a fault where they cannot be read.
/// @return Whether all of them could be read.
bool read_memory(unsigned long long address, void *to, size_t length);

/// The same for one value.
template <class Value>
bool read_value(unsigned long long address, Value &value) {
  return read_memory(address, &value, sizeof value);
}

/// Copies a terminated text of any place, cut to the capacity; always terminated, empty where it cannot be read.
void read_text(unsigned long long address, char *to, size_t capacity);

/// Zeroed room for an array; null when there is none. Only what is touched becomes memory.
void *reserve_pages(size_t bytes);
template <class Value>
Value *reserve_array(size_t count) {
  return static_cast<Value *>(reserve_pages(count * sizeof(Value)));
}

/// Gives such room back; null is allowed.
void release_pages(void *pages, size_t bytes);

} // namespace zar::platform
