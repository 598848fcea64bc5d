// Where the records of XML nodes come from, and how they go back.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace zar {

/// A stretch of memory that holds records, one behind another; it goes when the last of them has gone.
struct alignas(8) xml_node_block {
  std::atomic<int> users;
  std::uint32_t bytes;

  /// The place of a record is counted in steps of 8 bytes from the block's start.
  static constexpr size_t step = 8;
  static constexpr size_t largest_in_heap = 32 * 1024;
  /// The place of all records in a block that is a large page: its start shows in their addresses.
  static constexpr std::uint32_t in_large_page = 0xFFF;

  static xml_node_block *of(void *record, std::uint32_t distance);
  static void leave(xml_node_block *block, int records);
};

/// Hands out room for the records of one reading or copying, from blocks of 1 KB at first, then of up to 32 KB, and of
/// a large page each where the system has them and 4 MB are taken. The records outlive this object. Each counts as one
/// allocation of baseDymicAlloc.
class xml_node_blocks {
public:
  xml_node_blocks() = default;
  xml_node_blocks(const xml_node_blocks &) = delete;
  xml_node_blocks &operator=(const xml_node_blocks &) = delete;
  ~xml_node_blocks() { close(); }

  /// @param distance  Receives the record's place in its block.
  /// @return Room for a record of at most a few KB. Throws std::bad_alloc.
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
  static constexpr size_t smallest = 1024;                    // of the blocks
  static constexpr size_t enough_for_pages = 4 * 1024 * 1024; // taken before

  void open(size_t bytes);
  void close();

  xml_node_block *m_block = nullptr;
  size_t m_used = 0;
  size_t m_taken = 0; // by all blocks
  int m_records = 0;  // of the open block
  bool m_in_large_page = false;
};

/// Takes back the records of a tree that goes, and settles with their blocks and the balance in few steps.
class xml_node_returns {
public:
  xml_node_returns() = default;
  xml_node_returns(const xml_node_returns &) = delete;
  xml_node_returns &operator=(const xml_node_returns &) = delete;
  ~xml_node_returns();

  /// @param distance  As take() gave it; 0 for a record that is a block of baseDymicAlloc by itself.
  void give_back(void *record, std::uint32_t distance);

private:
  xml_node_block *m_block = nullptr; // the one of the last records
  int m_records = 0;                 // in it
  unsigned m_all_records = 0;        // wraps, as the balance does
};

} // namespace zar
