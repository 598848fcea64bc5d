// Lines of stack text from code addresses.
#pragma once

#include <cstddef>

namespace zar {

/// Opens the symbols at the first call. @return Whether there are any; always the same answer.
bool symbol_handler();

/// Writes "file(line): name" for an address, as far as it is known, cut to `capacity` bytes with the end.
/// Runs in a dying process too. @return False without a symbol handler; `out` is untouched then.
bool symbolize_address(unsigned long long address, char *out, size_t capacity);

} // namespace zar
