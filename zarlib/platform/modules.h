// Modules loaded at run time.
#pragma once

#include <string>

namespace zar::platform {

/// Loads a module and its dependencies, binding everything at once; its names are not made available to other modules.
/// @param file  A path, or a name that the system searches for in its own places.
/// @return A handle for the other calls; null on failure.
void *load_module(const std::string &file);

/// The address of an exported name; null when the module has none.
void *find_symbol(void *module, const std::string &name);

/// Undoes one load_module().
void unload_module(void *module);

} // namespace zar::platform
