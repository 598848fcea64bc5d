// Erasing secrets.
#pragma once

#include <cstddef>
#include <cstring>

namespace zar {

/// Zeroes memory that held a secret. The compiler must take it that somebody looks at the zeros, so the call stays even
/// where the memory is given up right after it.
inline void wipe(void *memory, size_t size) {
  asm volatile("" : "+r"(size)); // a size that it knew would become a string instruction, which is slow to start
  if (size > 0) std::memset(memory, 0, size);
  asm volatile("" : : "r"(memory) : "memory");
}

} // namespace zar
