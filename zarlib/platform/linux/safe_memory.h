// Reading memory that may not be there.
#pragma once

#include <cstddef>

namespace zar::platform {

/// Copies `length` bytes of this process from `address` on, without a fault where they cannot be read. Dying process.
/// @return Whether all of them could be read.
bool read_memory(unsigned long long address, void *to, size_t length);

} // namespace zar::platform
