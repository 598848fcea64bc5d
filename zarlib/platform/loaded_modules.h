// The modules loaded in the process: the program, its libraries and later additions.
#pragma once

#include "zarlib/platform/types.h"

namespace zar::platform {

/// Compares module names, ignoring the case of A to Z whatever the locale: in a Turkish one the run-time library's own
/// comparison distinguishes I and i.
inline bool is_same_module_name(const char *a, const char *b) {
  const auto folded = [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; };
  for (; *a && folded(*a) == folded(*b); ++a, ++b) continue;
  return folded(*a) == folded(*b);
}

/// Lists the modules in the system's order, the program first. A module is identified by the address of its first page.
/// @return The number written, at most `capacity`; 0 when the system does not tell. Does not allocate.
int list_loaded_modules(HINSTANCE *modules, int capacity);

/// The module of that name, null when there is none. On Windows also accepts a path, or a name without its ".dll".
HINSTANCE find_loaded_module(const char *name);

/// Whether the module's file has that name, without its directory and ignoring case. On Linux the module's own name
/// for itself matches too.
bool is_module_named(HINSTANCE module, const char *name);

/// The address of a function that the module itself exports; null when it does not.
FARPROC find_exported_function(HINSTANCE module, const char *name);

} // namespace zar::platform
