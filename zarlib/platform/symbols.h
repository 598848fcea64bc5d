// From code addresses to the places in the sources.
#pragma once

namespace zar::platform {

/// What is known of an address. Texts are cut where they do not fit.
struct symbol {
  char file[2000]; ///< empty: no line information
  int line;
  char name[2000]; ///< of the function, readable; empty when unknown
};

/// Opens the symbols of this process, once and for all its life.
/// @param architecture  The text that chooses the machine type of Windows' stack walk, null for the one of this build: it
///                      holds "EM64T" or "AMD64", or else "x86". With any other text stacks stay empty. Not used on Linux.
/// @return Whether symbols can be had at all.
bool open_symbols(const char *architecture);

/// Takes notice of modules that were loaded or unloaded since the last call.
/// REQUIRES: one thread at a time.
/// @return False when surely all answers of describe_address() up to now still hold.
bool refresh_modules();

/// Looks an address up. Slow: the first call on a module reads its symbols.
/// Any thread may call it at any time, in a report too.
void describe_address(unsigned long long address, symbol &found);

} // namespace zar::platform
