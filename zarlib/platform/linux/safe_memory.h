// Memory for code in a dying process: reading addresses that may be invalid, and room outside the heap.
#pragma once

#include <cstddef>

namespace zar::platform {

/// Copies `length` bytes of this process from `address`, without a fault if they are unreadable.
/// @return Whether all of them could be read.
bool read_memory(unsigned long long address, void *to, size_t length);

/// The same for one value.
template <class Value>
bool read_value(unsigned long long address, Value &value) {
  return read_memory(address, &value, sizeof value);
}

/// Copies a NUL-terminated text from any address, truncated to the capacity; always terminated, empty if unreadable.
void read_text(unsigned long long address, char *to, size_t capacity);

/// Zeroed room for an array; null if there is none. Pages are committed only when touched.
void *reserve_pages(size_t bytes);
template <class Value>
Value *reserve_array(size_t count) {
  return static_cast<Value *>(reserve_pages(count * sizeof(Value)));
}

/// Releases such room; null is allowed.
void release_pages(void *pages, size_t bytes);

} // namespace zar::platform
