// A loaded module as its own headers tell it.
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

/// Valid while visit_modules() shows it.
class elf_module {
public:
  explicit elf_module(const dl_phdr_info &info);

  std::uintptr_t base() const { return m_info.dlpi_addr; }
  /// All its pages; the start is its handle.
  const address_range &pages() const { return m_pages; }
  /// The pages that the loader makes read-only once it has bound them.
  const address_range &bound_pages() const { return m_bound_pages; }
  /// As the loader knows it, empty for the program.
  const char *path() const { return m_info.dlpi_name; }
  /// The name that it gives itself; null without one.
  const char *own_name() const;

  /// An entry of the dynamic section, 0 when there is none.
  std::uint64_t value(Elf64_Sxword tag) const;
  template <class Entry>
  const Entry *table(Elf64_Sxword tag) const {
    const std::uint64_t address = value(tag);
    // The loader has made addresses of these offsets, but for the page of the kernel, where it cannot write.
    return address ? reinterpret_cast<const Entry *>(address < base() ? base() + address : address) : nullptr;
  }

  const char *symbol_name(size_t symbol) const;
  /// The version of a symbol that it imports; empty when it asks for none.
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

/// Shows all modules to `visit(elf_module)` until it answers true. Meanwhile no module comes or goes, and no other
/// thread is here; `visit` must not allocate or call the loader.
template <class Visit>
void visit_modules(Visit visit) {
  dl_iterate_phdr([](dl_phdr_info *info, size_t,
                     void *object) -> int { return (*static_cast<Visit *>(object))(elf_module(*info)) ? 1 : 0; },
                  &visit);
}

/// The same for the one with that handle, if it is there; `visit` answers nothing.
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

/// Keeps a module loaded, and looks for names in it and in what it needs.
class module_reference {
public:
  /// @param path  As elf_module::path() has it; for the program names are looked for in all that every module sees.
  explicit module_reference(const char *path) : m_handle(dlopen(*path ? path : nullptr, RTLD_LAZY | RTLD_NOLOAD)) {}
  module_reference(const module_reference &) = delete;
  ~module_reference() {
    if (m_handle) dlclose(m_handle);
  }

  /// @param version  Empty for the default one.
  void *find(const char *name, const char *version) const {
    if (!m_handle) return nullptr;
    return *version ? dlvsym(m_handle, name, version) : dlsym(m_handle, name);
  }

private:
  void *const m_handle;
};

/// The address of a name that the module with that handle defines itself; null when it does not.
/// @param version  Empty for the default one.
void *find_own_symbol(const void *handle, const char *name, const char *version);

} // namespace zar::platform
