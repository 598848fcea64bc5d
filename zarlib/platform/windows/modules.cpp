#include "zarlib/platform/modules.h"

#include "zarlib/platform/types.h"

namespace zar::platform {

void *load_module(const std::string &file) { return LoadLibraryA(file.c_str()); }

void *find_symbol(void *module, const std::string &name) {
  return reinterpret_cast<void *>(GetProcAddress(static_cast<HMODULE>(module), name.c_str()));
}

void unload_module(void *module) { FreeLibrary(static_cast<HMODULE>(module)); }

} // namespace zar::platform
