// Allocation of the records of XML nodes.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace zar {

/// A block of memory that holds records back to back; it is freed with the last of them.
struct alignas(8) xml_node_block {
  std::atomic<int> users;
  std::uint32_t bytes;

  /// The unit of a record's distance from the start of its block, in bytes.
  static constexpr size_t step = 8;
  static constexpr size_t largest_in_heap = 32 * 1024;
  /// The distance stored for every record in a large page, whose start follows from the record's address.
  static constexpr std::uint32_t in_large_page = 0xFFF;

  static xml_node_block *of(void *record, std::uint32_t distance);
  static void leave(xml_node_block *block, int records);
};

/// Allocates the records of one parse or copy from blocks of 1 KB at first, then up to 32 KB, and, once 4 MB are taken,
/// of one large page each if the system provides them. The records outlive this object. Each counts as one allocation
/// of baseDymicAlloc.
class xml_node_blocks {
public:
  xml_node_blocks() = default;
  xml_node_blocks(const xml_node_blocks &) = delete;
  xml_node_blocks &operator=(const xml_node_blocks &) = delete;
  ~xml_node_blocks() { close(); }

  /// @param distance  Receives the record's distance from the start of its block.
  /// @return Memory for a record of at most a few KB. Throws std::bad_alloc.
  void *take(size_t bytes, std::uint32_t &distance) {
    bytes = (bytes + xml_node_block::step - 1) / xml_node_block::step * xml_node_block::step;
    if (!m_block || m_block->bytes - m_used < bytes) open(bytes);
    void *const record = reinterpret_cast<char *>(m_block) + m_used;
    distance =
        m_in_large_page ? xml_node_block::in_large_page : static_cast<std::uint32_t>(m_used / xml_node_block::step);
    m_used += bytes;
    ++m_records;
    return record;
  }

private:
  static constexpr size_t smallest = 1024;                    // size of a block
  static constexpr size_t enough_for_pages = 4 * 1024 * 1024; // taken before large pages are used

  void open(size_t bytes);
  void close();

  xml_node_block *m_block = nullptr;
  size_t m_used = 0;
  size_t m_taken = 0; // size of all blocks
  int m_records = 0;  // in the open block
  bool m_in_large_page = false;
};

/// Frees the records of a tree that is destroyed, batching the updates of their blocks and of the balance.
class xml_node_returns {
public:
  xml_node_returns() = default;
  xml_node_returns(const xml_node_returns &) = delete;
  xml_node_returns &operator=(const xml_node_returns &) = delete;
  ~xml_node_returns();

  /// @param distance  As set by take(); 0 for a record allocated on its own by baseDymicAlloc.
  void give_back(void *record, std::uint32_t distance);

private:
  xml_node_block *m_block = nullptr; // that of the most recent records
  int m_records = 0;                 // returned to it, not yet settled
  unsigned m_all_records = 0;        // wraps, as the balance does
};

} // namespace zar
