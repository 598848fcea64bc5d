// The regions of this process's address space.
#pragma once

#include <cstdint>
#include <string_view>

namespace zar::platform {

struct memory_region {
  std::uint64_t start;
  std::uint64_t end;
  std::uint64_t offset; ///< into the file
  bool readable;
  bool writable;
  bool executable;
  std::string_view path; ///< empty for memory without a file
};

/// A snapshot of the map at construction, in ascending order. Works in a dying process, without the heap.
class memory_map {
public:
  memory_map();
  memory_map(const memory_map &) = delete;
  ~memory_map();

  const memory_region *begin() const { return m_regions; }
  const memory_region *end() const { return m_regions + m_count; }

  /// The first region that ends above the address; end() if there is none.
  const memory_region *at_or_above(std::uint64_t address) const;

private:
  char *m_text;
  memory_region *m_regions;
  size_t m_count = 0;
};

} // namespace zar::platform
