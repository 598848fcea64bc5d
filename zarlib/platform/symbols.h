// From code addresses to source locations.
#pragma once

namespace zar::platform {

/// What is known about an address. Texts are truncated to fit.
struct symbol {
  char file[2000]; ///< empty: no line information
  int line;
  char name[2000]; ///< of the function, in readable form; empty when unknown
};

/// Opens the symbols of this process, once for its whole life.
/// @param architecture  Selects the machine type for Windows' stack walk; null selects that of this build. It contains
///                      "EM64T" or "AMD64", or else "x86"; with any other text stacks stay empty. Not used on Linux.
/// @return Whether symbols are available at all.
bool open_symbols(const char *architecture);

/// Takes account of modules loaded or unloaded since the last call.
/// REQUIRES: one thread at a time.
/// @return False when all previous answers of describe_address() certainly still hold.
bool refresh_modules();

/// Looks up an address. Slow: the first call for a module reads its symbols. Any thread may call it at any
/// time, in a report too.
void describe_address(unsigned long long address, symbol &found);

} // namespace zar::platform
