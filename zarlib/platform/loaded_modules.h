// The modules that the process has loaded: the program, its libraries and what came later.
#pragma once

#include "zarlib/platform/types.h"

namespace zar::platform {

/// Compares names of modules without regard to the case of A to Z, whatever the locale: in a Turkish one the run-time
/// library's own comparison tells I from i.
inline bool is_same_module_name(const char *a, const char *b) {
  const auto folded = [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; };
  for (; *a && folded(*a) == folded(*b); ++a, ++b) continue;
  return folded(*a) == folded(*b);
}

/// Lists them in the system's order, the program first. A module is the address of its first page.
/// @return How many were written, at most `capacity`; 0 when the system does not tell. Allocates nothing.
int list_loaded_modules(HINSTANCE *modules, int capacity);

/// The module of that name, null when there is none. On Windows also a path, or a name without its ".dll".
HINSTANCE find_loaded_module(const char *name);

/// Whether the module's file has that name, without its folder and without regard to case. On Linux the name that the
/// module gives itself will do as well.
bool is_module_named(HINSTANCE module, const char *name);

/// The address of a function that the module itself exports; null when it does not.
FARPROC find_exported_function(HINSTANCE module, const char *name);

} // namespace zar::platform
