#include "zarlib/platform/modules.h"

#include <dlfcn.h>

namespace zar::platform {

void *load_module(const std::string &file) {
  // The loader takes an empty name for the program itself.
  return file.empty() ? nullptr : dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
}

void *find_symbol(void *module, const std::string &name) { return dlsym(module, name.c_str()); }

void unload_module(void *module) { dlclose(module); }

} // namespace zar::platform
