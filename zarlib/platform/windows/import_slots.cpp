#include "zarlib/platform/import_slots.h"

#include "zarlib/platform/loaded_modules.h"
#include "zarlib/platform/static_lock.h"

#include <atomic>
#include <cstdint>
#include <dbghelp.h>
#include <mutex>

namespace zar::platform {

namespace {

using word = std::uintptr_t;

/// Keeps two threads from taking each other's temporary page protection for the original one.
constinit static_lock page_lock;

/// Keeps a module loaded, if it is there.
class kept_module {
public:
  explicit kept_module(HINSTANCE module) : m_module(module) {
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCSTR>(module), &m_found);
  }
  kept_module(const kept_module &) = delete;
  ~kept_module() {
    if (m_found) FreeLibrary(m_found);
  }

  explicit operator bool() const { return m_found && m_found == m_module; }

private:
  const HMODULE m_module;
  HMODULE m_found = nullptr;
};

/// The bound addresses of the first import table for that module; null if nothing is imported from it.
word *find_bound_addresses(HINSTANCE module, const char *imported_module) {
  auto *const image = reinterpret_cast<char *>(module);
  ULONG size = 0;
  const auto *row = static_cast<const IMAGE_IMPORT_DESCRIPTOR *>(
      ImageDirectoryEntryToData(image, TRUE, IMAGE_DIRECTORY_ENTRY_IMPORT, &size));
  // Settled, callers rely on it: further tables for that name are ignored.
  for (; row && row->Name; ++row)
    if (is_same_module_name(image + row->Name, imported_module))
      return reinterpret_cast<word *>(image + row->FirstThunk);
  return nullptr;
}

void change(word &entry, word value) {
  const std::lock_guard guard(page_lock);
  DWORD rights = 0;
  // Executable as well: a page of imports may hold code that other threads are running.
  if (!VirtualProtect(&entry, sizeof entry, PAGE_EXECUTE_READWRITE, &rights)) return;
  std::atomic_ref(entry).store(value, std::memory_order_release);
  FlushInstructionCache(GetCurrentProcess(), &entry, sizeof entry);
  VirtualProtect(&entry, sizeof entry, rights, &rights);
}

} // namespace

import_changes::import_changes() = default;
import_changes::~import_changes() = default;

bool import_changes::replace(HINSTANCE module, const imported_function &function, FARPROC replacement) {
  const kept_module kept(module);
  if (!function.address || !kept) return false;
  word *entry = find_bound_addresses(module, function.module);
  const auto wanted = reinterpret_cast<word>(function.address);
  while (entry && *entry && *entry != wanted) ++entry;
  if (entry && *entry) change(*entry, reinterpret_cast<word>(replacement));
  return false;
}

} // namespace zar::platform
