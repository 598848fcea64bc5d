#include "zarlib/platform/linux/minidump_modules.h"

#include "zarlib/platform/linux/safe_memory.h"

#include <algorithm>
#include <cstring>
#include <elf.h>
#include <link.h>
#include <sys/auxv.h>

namespace zar::platform {

using namespace minidump;

namespace {

constexpr size_t modules_max = 4096;
constexpr size_t segments_max = 64;
constexpr size_t name_max = 4096;
constexpr size_t dynamic_max = 256;
constexpr std::uint64_t page_mask = ~std::uint64_t{4095};

/// An ELF image in memory, described by its own headers.
class elf_image {
public:
  /// @return Whether an image starts there.
  bool read(std::uint64_t start) {
    Elf64_Ehdr head;
    if (!read_value(start, head) || std::memcmp(head.e_ident, ELFMAG, SELFMAG) != 0) return false;
    if (head.e_ident[EI_CLASS] != ELFCLASS64 || head.e_phentsize != sizeof(Elf64_Phdr)) return false;
    m_start = start;
    m_count = std::min<size_t>(head.e_phnum, segments_max);
    return read_memory(start + head.e_phoff, m_segments, m_count * sizeof(Elf64_Phdr)) && measure();
  }

  std::uint64_t start() const { return m_start; }
  std::uint64_t end() const { return m_start + m_size; }

  /// Copies the build id. @return Its length, 0 if there is none.
  size_t build_id(unsigned char *to, size_t capacity) const {
    for (size_t i = 0; i < m_count; ++i) {
      const Elf64_Phdr &segment = m_segments[i];
      if (segment.p_type != PT_NOTE) continue;
      const size_t length = find_note(m_start + segment.p_vaddr - m_base, segment.p_memsz, to, capacity);
      if (length) return length;
    }
    return 0;
  }

private:
  bool measure() {
    std::uint64_t low = ~std::uint64_t{0}, high = 0;
    for (size_t i = 0; i < m_count; ++i) {
      if (m_segments[i].p_type != PT_LOAD) continue;
      low = std::min(low, m_segments[i].p_vaddr & page_mask);
      high = std::max(high, m_segments[i].p_vaddr + m_segments[i].p_memsz);
    }
    m_base = low;
    m_size = (high - low + ~page_mask) & page_mask;
    return high > low && m_size <= UINT32_MAX;
  }

  static size_t find_note(std::uint64_t at, std::uint64_t length, unsigned char *to, size_t capacity) {
    const std::uint64_t end = at + length;
    Elf64_Nhdr note;
    while (at + sizeof note <= end && read_value(at, note)) {
      const std::uint64_t name = at + sizeof note, content = name + ((note.n_namesz + 3ull) & ~3ull);
      char owner[4] = {};
      if (note.n_type == NT_GNU_BUILD_ID && note.n_namesz == sizeof owner && note.n_descsz <= capacity &&
          read_value(name, owner) && std::memcmp(owner, ELF_NOTE_GNU, sizeof owner) == 0)
        return read_memory(content, to, note.n_descsz) ? note.n_descsz : 0;
      at = content + ((note.n_descsz + 3ull) & ~3ull);
    }
    return 0;
  }

  std::uint64_t m_start = 0, m_base = 0, m_size = 0;
  Elf64_Phdr m_segments[segments_max];
  size_t m_count = 0;
};

/// Files mapped only as data have no executable part.
bool has_code(const memory_map &map, const elf_image &image) {
  for (const memory_region *region = map.at_or_above(image.start()); region != map.end() && region->start < image.end();
       ++region)
    if (region->executable) return true;
  return false;
}

module describe(minidump_file &file, const elf_image &image, std::string_view path) {
  struct {
    std::uint32_t mark = build_id_mark;
    unsigned char id[64];
  } record;
  module result = {};
  result.base = image.start();
  result.size = static_cast<std::uint32_t>(image.end() - image.start());
  result.name_rva = file.append_text(path);
  const size_t length = image.build_id(record.id, sizeof record.id);
  if (length) result.code_view = file.append(&record, sizeof record.mark + length);
  return result;
}

/// The path without the note that the kernel adds once the file was replaced, as by an update, or deleted.
std::string_view without_note(std::string_view path) {
  constexpr std::string_view note = " (deleted)";
  return path.ends_with(note) ? path.substr(0, path.size() - note.size()) : path;
}

/// Readers of dumps take the first module for the program.
void move_program_to_front(module *modules, size_t count) {
  const auto is_program = [entry = getauxval(AT_ENTRY)](const module &m) { return entry - m.base < m.size; };
  module *const program = std::find_if(modules, modules + count, is_program);
  if (program != modules + count) std::rotate(modules, program, program + 1);
}

} // namespace

void write_module_list(minidump_file &file, const memory_map &map) {
  auto *const modules = reserve_array<module>(modules_max);
  if (!modules) return;
  size_t count = 0;
  std::uint64_t covered = 0;
  for (const memory_region &region : map) {
    if (region.start < covered || region.offset != 0 || !region.readable || region.path.empty() || count == modules_max)
      continue;
    // Reading from a mapped device may have side effects.
    if (region.path.starts_with("/dev/")) continue;
    elf_image image;
    if (!image.read(region.start) || !has_code(map, image)) continue;
    modules[count++] = describe(file, image, without_note(region.path));
    covered = image.end();
  }
  move_program_to_front(modules, count);
  file.add_stream(stream_type::module_list, file.append_list(modules, count));
}

void write_loader_list(minidump_file &file) {
  r_debug head;
  auto *const entries = reserve_array<loader_entry>(modules_max);
  if (!entries || !read_value(reinterpret_cast<std::uintptr_t>(&_r_debug), head)) return;

  std::uint32_t count = 0;
  std::uint64_t program = 0;
  link_map link;
  for (const link_map *at = head.r_map; at && count < modules_max; at = link.l_next) {
    if (!read_value(reinterpret_cast<std::uintptr_t>(at), link)) break;
    char name[name_max];
    read_text(reinterpret_cast<std::uintptr_t>(link.l_name), name, sizeof name);
    const auto dynamic = reinterpret_cast<std::uintptr_t>(link.l_ld);
    if (count == 0) program = dynamic;
    entries[count++] = {link.l_addr, file.append_text(name), dynamic};
  }

  const location list = file.append(entries, count * sizeof *entries);
  const loader_debug debug = {
      static_cast<std::uint32_t>(head.r_version), list.rva, count, head.r_brk, head.r_ldbase, program};
  location stream = file.append(debug);
  for (Elf64_Dyn item; read_value(program, item); program += sizeof item) {
    stream = file.extend(stream, &item, sizeof item);
    if (item.d_tag == DT_NULL || stream.size > sizeof debug + dynamic_max * sizeof item) break;
  }
  file.add_stream(stream_type::linux_dso_debug, stream);
}

} // namespace zar::platform
