// A loaded module as described by its own headers.
#pragma once

#include <cstdint>
#include <dlfcn.h>
#include <link.h>

namespace zar::platform {

struct address_range {
  std::uintptr_t start;
  std::uintptr_t end;

  bool contains(std::uintptr_t address) const { return address >= start && address < end; }
};

/// Valid only during visit_modules().
class elf_module {
public:
  explicit elf_module(const dl_phdr_info &info);

  std::uintptr_t base() const { return m_info.dlpi_addr; }
  /// All its pages; the start is also its handle.
  const address_range &pages() const { return m_pages; }
  /// The pages that the loader makes read-only after relocation (RELRO).
  const address_range &bound_pages() const { return m_bound_pages; }
  /// The loader's name for it; empty for the program.
  const char *path() const { return m_info.dlpi_name; }
  /// The name it gives itself (DT_SONAME); null if none.
  const char *own_name() const;

  /// An entry of the dynamic section, 0 if absent.
  std::uint64_t value(Elf64_Sxword tag) const;
  template <class Entry>
  const Entry *table(Elf64_Sxword tag) const {
    const std::uint64_t address = value(tag);
    // The loader has relocated these offsets to addresses, except in the vDSO, which it cannot write to.
    return address ? reinterpret_cast<const Entry *>(address < base() ? base() + address : address) : nullptr;
  }

  const char *symbol_name(size_t symbol) const;
  /// The version of an imported symbol; empty if none is required.
  const char *symbol_version(size_t symbol) const;

private:
  const dl_phdr_info &m_info;
  const Elf64_Dyn *m_dynamic = nullptr;
  address_range m_pages;
  address_range m_bound_pages = {0, 0};
};

std::uintptr_t page_size();
inline std::uintptr_t page_start(std::uintptr_t address) { return address & ~(page_size() - 1); }

/// The first page of a module, which is its handle.
std::uintptr_t first_page(const dl_phdr_info &info);

/// Calls `visit(elf_module)` for each module until it returns true. Meanwhile no module is loaded or unloaded, and no
/// other thread is here; `visit` must not allocate or call the loader.
template <class Visit>
void visit_modules(Visit visit) {
  dl_iterate_phdr([](dl_phdr_info *info, size_t,
                     void *object) -> int { return (*static_cast<Visit *>(object))(elf_module(*info)) ? 1 : 0; },
                  &visit);
}

/// The same for the module with that handle, if loaded; `visit` returns nothing.
template <class Visit>
void visit_module(const void *handle, Visit visit) {
  struct search {
    std::uintptr_t start;
    Visit &visit;
  } wanted = {reinterpret_cast<std::uintptr_t>(handle), visit};
  dl_iterate_phdr(
      [](dl_phdr_info *info, size_t, void *object) -> int {
        const auto &[start, show] = *static_cast<search *>(object);
        if (first_page(*info) != start) return 0;
        show(elf_module(*info));
        return 1;
      },
      &wanted);
}

/// Keeps a module loaded, and looks up names in it and its dependencies.
class module_reference {
public:
  /// @param path  As from elf_module::path(); for the program, names are looked up in the global scope.
  explicit module_reference(const char *path) : m_handle(dlopen(*path ? path : nullptr, RTLD_LAZY | RTLD_NOLOAD)) {}
  module_reference(const module_reference &) = delete;
  ~module_reference() {
    if (m_handle) dlclose(m_handle);
  }

  /// @param version  Empty for the default version.
  void *find(const char *name, const char *version) const {
    if (!m_handle) return nullptr;
    return *version ? dlvsym(m_handle, name, version) : dlsym(m_handle, name);
  }

private:
  void *const m_handle;
};

/// The address of a name that the module with that handle itself defines; null if it does not.
/// @param version  Empty for the default version.
void *find_own_symbol(const void *handle, const char *name, const char *version);

} // namespace zar::platform
