#include "zarlib/platform/loaded_modules.h"

#include <algorithm>
#include <psapi.h>

namespace zar::platform {

int list_loaded_modules(HINSTANCE *modules, int capacity) {
  DWORD bytes = 0;
  const auto room = static_cast<DWORD>(static_cast<size_t>(capacity) * sizeof *modules);
  if (!K32EnumProcessModules(GetCurrentProcess(), modules, room, &bytes)) return 0;
  // `bytes` covers all modules, whether or not they fitted.
  return static_cast<int>(std::min(bytes, room) / sizeof *modules);
}

HINSTANCE find_loaded_module(const char *name) { return GetModuleHandleA(name); }

bool is_module_named(HINSTANCE module, const char *name) {
  char found[MAX_PATH + 1] = {};
  return K32GetModuleBaseNameA(GetCurrentProcess(), module, found, MAX_PATH) && is_same_module_name(found, name);
}

FARPROC find_exported_function(HINSTANCE module, const char *name) { return GetProcAddress(module, name); }

} // namespace zar::platform
