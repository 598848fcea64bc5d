// Modules loaded at run time.
#pragma once

#include <string>

namespace zar::platform {

/// Loads a module and whatever it needs, all of it bound at once; its names are not offered to other modules.
/// @param file  A path, or a name that the system looks for in its own places.
/// @return A handle for the other calls; null on failure.
void *load_module(const std::string &file);

/// The address of an exported name; null when the module has none.
void *find_symbol(void *module, const std::string &name);

/// Gives one load_module() back.
void unload_module(void *module);

} // namespace zar::platform
