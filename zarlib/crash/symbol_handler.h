// Lines of stack text from code addresses.
#pragma once

#include <cstddef>

namespace zar {

/// Opens the symbols at the first call. @return Whether they are available; the same at every call.
bool symbol_handler();

/// Writes "file(line): name" for an address, as far as known, truncated to `capacity` bytes including the terminator.
/// May run in a dying process. @return False, with `out` unchanged, if there is no symbol handler.
bool symbolize_address(unsigned long long address, char *out, size_t capacity);

} // namespace zar
