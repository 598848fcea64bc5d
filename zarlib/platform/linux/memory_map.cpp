#include "zarlib/platform/linux/memory_map.h"

#include "zarlib/platform/linux/safe_memory.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace zar::platform {

namespace {

// The system's default limit is 65530 regions.
constexpr size_t regions_max = 131072;
constexpr size_t text_max = 32u << 20;

/// Reads a whole /proc file, up to the capacity.
std::string_view read_whole(const char *path, char *room, size_t capacity) {
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0) return {};
  size_t length = 0;
  while (length < capacity) {
    const ssize_t count = read(file, room + length, capacity - length);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    length += static_cast<size_t>(count);
  }
  close(file);
  return {room, length};
}

/// Removes the text up to `end`, and `end` itself, from the front of a line.
std::string_view take(std::string_view &line, char end) {
  const size_t at = std::min(line.find(end), line.size());
  const std::string_view result = line.substr(0, at);
  line.remove_prefix(std::min(at + 1, line.size()));
  return result;
}

std::uint64_t hexadecimal(std::string_view digits) {
  std::uint64_t value = 0;
  for (const char c : digits) value = value << 4 | static_cast<unsigned>(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
  return value;
}

/// "start-end rwxp offset device inode   path"
memory_region parse(std::string_view line) {
  memory_region region = {};
  region.start = hexadecimal(take(line, '-'));
  region.end = hexadecimal(take(line, ' '));
  const std::string_view rights = take(line, ' ');
  region.readable = rights.starts_with('r');
  region.writable = rights.size() > 1 && rights[1] == 'w';
  region.executable = rights.size() > 2 && rights[2] == 'x';
  region.offset = hexadecimal(take(line, ' '));
  take(line, ' ');
  take(line, ' ');
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  region.path = line;
  return region;
}

} // namespace

memory_map::memory_map() : m_text(reserve_array<char>(text_max)), m_regions(reserve_array<memory_region>(regions_max)) {
  if (!m_text || !m_regions) return;
  // The thread's own entry: the process's is empty once its main thread has ended.
  std::string_view text = read_whole("/proc/thread-self/maps", m_text, text_max);
  while (!text.empty() && m_count < regions_max) m_regions[m_count++] = parse(take(text, '\n'));
}

memory_map::~memory_map() {
  release_pages(m_text, text_max);
  release_pages(m_regions, regions_max * sizeof(memory_region));
}

const memory_region *memory_map::at_or_above(std::uint64_t address) const {
  return std::upper_bound(begin(), end(), address,
                          [](std::uint64_t wanted, const memory_region &region) { return wanted < region.end; });
}

} // namespace zar::platform
