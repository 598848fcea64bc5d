#include "zarlib/platform/import_slots.h"

#include "zarlib/platform/linux/elf_module.h"
#include "zarlib/platform/linux/memory_map.h"
#include "zarlib/platform/linux/safe_memory.h"
#include "zarlib/platform/loaded_modules.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <new>
#include <sys/mman.h>

namespace zar::platform {

struct page_rights {
  memory_map map;
};

namespace {

using word = std::uintptr_t;

constexpr int modules_max = 1024; // those loaded at program start

// Other threads read these words at any time, whenever they call through them.
word load(word &slot) { return std::atomic_ref(slot).load(std::memory_order_relaxed); }
void store(word &slot, word value) { std::atomic_ref(slot).store(value, std::memory_order_release); }

/// Calls visit(slot, symbol, call) for each word in a relocation table that refers to a function or an object. `call` is
/// the index of the relocation, or -1 where binding is never lazy.
template <class Visit>
void visit_table(const elf_module &module, const Elf64_Rela *table, std::uint64_t bytes, Visit &visit) {
  for (const Elf64_Rela *entry = table, *const end = table + bytes / sizeof *table; entry != end; ++entry) {
    const auto type = ELF64_R_TYPE(entry->r_info);
    if (type != R_X86_64_JUMP_SLOT && type != R_X86_64_GLOB_DAT) continue;
    const word address = module.base() + entry->r_offset;
    // A misaligned word may span two pages, and cannot be changed in one store.
    if (address % sizeof(word) != 0) continue;
    visit(*reinterpret_cast<word *>(address), ELF64_R_SYM(entry->r_info),
          type == R_X86_64_JUMP_SLOT ? entry - table : -1);
  }
}

/// The same for the module's whole global offset table. The vDSO has none.
template <class Visit>
void visit_slots(const elf_module &module, Visit visit) {
  const auto *const calls = module.table<Elf64_Rela>(DT_JMPREL);
  if (calls && module.value(DT_PLTREL) == DT_RELA) visit_table(module, calls, module.value(DT_PLTRELSZ), visit);
  const auto *const others = module.table<Elf64_Rela>(DT_RELA);
  // Relocations without a symbol come first, and there may be very many.
  const std::uint64_t bytes = module.value(DT_RELASZ), passed_over = module.value(DT_RELACOUNT);
  if (others && passed_over <= bytes / sizeof *others)
    visit_table(module, others + passed_over, bytes - passed_over * sizeof *others, visit);
}

/// A lazily bound word, recorded for use after the visit: its module, and the version of the function it needs.
struct unbound_word {
  char module_path[PATH_MAX];
  char version[256];
  bool found = false;

  void note(const elf_module &module, size_t symbol) {
    std::snprintf(module_path, sizeof module_path, "%s", module.path());
    std::snprintf(version, sizeof version, "%s", module.symbol_version(symbol));
    found = true;
  }
};

/// Whether this is PLT code that hands an unbound call to the loader. It pushes the index of the relocation; mold shares
/// one piece of code among all calls, which saves the register that holds the index.
bool is_binding_code(const unsigned char *code, std::ptrdiff_t call) {
  constexpr unsigned char branch_target[] = {0xF3, 0x0F, 0x1E, 0xFA}, push_register[] = {0x41, 0x53, 0xFF, 0x35};
  const auto begins_with = [&](const auto &bytes) { return std::equal(std::begin(bytes), std::end(bytes), code); };
  if (begins_with(branch_target)) code += std::size(branch_target);
  constexpr unsigned char push_index = 0x68;
  std::int32_t index;
  if (*code != push_index) return begins_with(push_register);
  std::memcpy(&index, code + 1, sizeof index);
  return index == call;
}

bool waits_for(const char *name, const elf_module &module, word value, size_t symbol, std::ptrdiff_t call) {
  // Until bound, it points back into the module's own code, as it also does with a replacement in the same module.
  return call >= 0 && module.pages().contains(value) && std::strcmp(module.symbol_name(symbol), name) == 0 &&
         is_binding_code(reinterpret_cast<const unsigned char *>(value), call);
}

/// A program that takes a function's address may export its own PLT entry as that address to all modules; calls are not
/// bound to it.
bool is_stand_in(void *address) {
  Dl_info info;
  void *symbol = nullptr;
  return dladdr1(address, &info, &symbol, RTLD_DL_SYMENT) && symbol &&
         static_cast<const Elf64_Sym *>(symbol)->st_shndx == SHN_UNDEF;
}

/// The first definition of the function in the modules after the program.
void *find_behind_program(const imported_function &function, const char *version) {
  HINSTANCE modules[modules_max];
  const int count = list_loaded_modules(modules, modules_max);
  void *address = nullptr;
  for (int i = 1; i < count && !address; ++i) address = find_own_symbol(modules[i], function.name, version);
  return address;
}

/// What the first call will be bound to: the global scope comes first, then the module's own dependencies.
void *find_binding(const imported_function &function, const unbound_word &unbound) {
  void *const global = module_reference("").find(function.name, unbound.version);
  if (!global) return module_reference(unbound.module_path).find(function.name, unbound.version);
  return is_stand_in(global) ? find_behind_program(function, unbound.version) : global;
}

/// The region of a page; null if the system does not list it. Avoids the heap, which may be what is being replaced.
const memory_region *region_at(word page, page_rights *&rights) {
  if (!rights) {
    void *const room = reserve_pages(sizeof(page_rights));
    if (!room) return nullptr;
    rights = new (room) page_rights;
  }
  const memory_region *const region = rights->map.at_or_above(page);
  return region != rights->map.end() && region->start <= page ? region : nullptr;
}

/// Changes a word and preserves the protection of its page.
void change(const elf_module &module, word &slot, word value, page_rights *&rights) {
  const word page = page_start(reinterpret_cast<word>(&slot));
  const memory_region *const region = region_at(page, rights);
  if (!region) return;
  if (region->writable) {
    // A page that has yet to become read-only belongs to a module that another thread is currently loading.
    if (!module.bound_pages().contains(page)) store(slot, value);
    return;
  }
  void *const start = reinterpret_cast<void *>(page);
  const int found = (region->readable ? PROT_READ : 0) | (region->executable ? PROT_EXEC : 0);
  if (mprotect(start, page_size(), found | PROT_WRITE) != 0) return;
  store(slot, value);
  mprotect(start, page_size(), found);
}

} // namespace

import_changes::import_changes() = default;

import_changes::~import_changes() {
  if (!m_rights) return;
  m_rights->~page_rights();
  release_pages(m_rights, sizeof *m_rights);
}

bool import_changes::replace(HINSTANCE handle, const imported_function &function, FARPROC replacement) {
  if (!function.address) return false;
  const auto before = reinterpret_cast<word>(function.address), after = reinterpret_cast<word>(replacement);
  const auto visit = [&](auto is_wanted) {
    visit_module(handle, [&](const elf_module &module) {
      visit_slots(module, [&](word &slot, size_t symbol, std::ptrdiff_t call) {
        if (is_wanted(module, load(slot), symbol, call)) change(module, slot, after, m_rights);
      });
    });
  };

  unbound_word unbound;
  visit([&](const elf_module &module, word value, size_t symbol, std::ptrdiff_t call) {
    if (value == before) return true;
    if (!unbound.found && waits_for(function.name, module, value, symbol, call)) unbound.note(module, symbol);
    return false;
  });
  if (!unbound.found || find_binding(function, unbound) != reinterpret_cast<void *>(function.address)) return false;
  visit([&](const elf_module &module, word value, size_t symbol, std::ptrdiff_t call) {
    return waits_for(function.name, module, value, symbol, call);
  });
  return true;
}

} // namespace zar::platform
