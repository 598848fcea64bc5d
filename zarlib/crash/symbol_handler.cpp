#include "zarlib/crash/symbol_handler.h"

#include "zarlib/platform/symbols.h"

#include <cstdio>
#include <cstdlib>

namespace zar {

bool symbol_handler() {
  static const bool opened = [] {
    const char *const architecture = std::getenv("PROCESSOR_ARCHITECTURE");
    // Settled, callers rely on it: an empty variable switches stacks off.
    if (architecture && !*architecture) return false;
    return platform::open_symbols(architecture);
  }();
  return opened;
}

bool symbolize_address(unsigned long long address, char *out, size_t capacity) {
  if (!symbol_handler()) return false;
  platform::symbol found;
  platform::describe_address(address, found);
  // The blank before the name stays if there is no line information.
  if (*found.file)
    std::snprintf(out, capacity, "%s(%d): %s", found.file, found.line, found.name);
  else
    std::snprintf(out, capacity, " %s", found.name);
  return true;
}

} // namespace zar
