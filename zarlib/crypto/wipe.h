// Erasing secrets.
#pragma once

#include <cstddef>
#include <cstring>

namespace zar {

/// Zeroes memory that held a secret. The compiler must assume that the zeros are read, so the call is not optimised
/// away even where the memory is released right after it.
inline void wipe(void *memory, size_t size) {
  asm volatile("" : "+r"(size)); // a known size would become a string instruction, which is slow to start
  if (size > 0) std::memset(memory, 0, size);
  asm volatile("" : : "r"(memory) : "memory");
}

} // namespace zar
