#include "zarlib/platform/linux/elf_module.h"

#include <climits>
#include <cstdio>
#include <sys/auxv.h>
#include <unistd.h>

namespace zar::platform {

/// The record at that byte offset from another one.
template <class Record>
static const Record *behind(const void *record, std::uint64_t bytes) {
  return reinterpret_cast<const Record *>(static_cast<const char *>(record) + bytes);
}

std::uintptr_t page_size() {
  static const auto size = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  return size;
}

std::uintptr_t first_page(const dl_phdr_info &info) {
  // Segments are in ascending order.
  for (size_t i = 0; i < info.dlpi_phnum; ++i)
    if (info.dlpi_phdr[i].p_type == PT_LOAD) return page_start(info.dlpi_addr + info.dlpi_phdr[i].p_vaddr);
  return 0;
}

elf_module::elf_module(const dl_phdr_info &info) : m_info(info), m_pages{first_page(info), 0} {
  for (size_t i = 0; i < info.dlpi_phnum; ++i) {
    const Elf64_Phdr &segment = info.dlpi_phdr[i];
    const std::uintptr_t start = base() + segment.p_vaddr, end = start + segment.p_memsz;
    if (segment.p_type == PT_DYNAMIC) m_dynamic = reinterpret_cast<const Elf64_Dyn *>(start);
    // The loader leaves a partially covered last page writable.
    if (segment.p_type == PT_GNU_RELRO) m_bound_pages = {page_start(start), page_start(end)};
    if (segment.p_type == PT_LOAD) m_pages.end = end;
  }
}

std::uint64_t elf_module::value(Elf64_Sxword tag) const {
  if (!m_dynamic) return 0;
  for (const Elf64_Dyn *entry = m_dynamic; entry->d_tag != DT_NULL; ++entry)
    if (entry->d_tag == tag) return entry->d_un.d_val;
  return 0;
}

const char *elf_module::own_name() const {
  const std::uint64_t offset = value(DT_SONAME);
  const char *const names = table<char>(DT_STRTAB);
  return offset && names ? names + offset : nullptr;
}

const char *elf_module::symbol_name(size_t symbol) const {
  const auto *const symbols = table<Elf64_Sym>(DT_SYMTAB);
  const auto *const names = table<char>(DT_STRTAB);
  return symbols && names ? names + symbols[symbol].st_name : "";
}

const char *elf_module::symbol_version(size_t symbol) const {
  const auto *const versions = table<Elf64_Versym>(DT_VERSYM);
  const auto *file = table<Elf64_Verneed>(DT_VERNEED);
  if (!versions || !file) return "";
  const unsigned wanted = versions[symbol] & 0x7fffu;
  for (std::uint64_t files = value(DT_VERNEEDNUM); files > 0; --files) {
    const auto *version = behind<Elf64_Vernaux>(file, file->vn_aux);
    for (unsigned count = file->vn_cnt; count > 0; --count) {
      if (version->vna_other == wanted) return table<char>(DT_STRTAB) + version->vna_name;
      version = behind<Elf64_Vernaux>(version, version->vna_next);
    }
    file = behind<Elf64_Verneed>(file, file->vn_next);
  }
  return "";
}

void *find_own_symbol(const void *handle, const char *name, const char *version) {
  char path[PATH_MAX];
  bool known = false;
  visit_module(handle, [&](const elf_module &module) {
    std::snprintf(path, sizeof path, "%s", module.path());
    known = true;
  });
  void *const address = known ? module_reference(path).find(name, version) : nullptr;
  Dl_info owner;
  if (!address || !dladdr(address, &owner)) return nullptr;
  // The C library resolves some of its own names to functions in the vDSO.
  const bool of_kernel = reinterpret_cast<std::uintptr_t>(owner.dli_fbase) == getauxval(AT_SYSINFO_EHDR);
  return owner.dli_fbase == handle || of_kernel ? address : nullptr;
}

} // namespace zar::platform
