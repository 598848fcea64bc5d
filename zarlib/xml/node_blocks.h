// Where the records of XML nodes come from, and how they go back.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace zar {

/// A stretch of the heap that holds records, one behind another; it goes when the last of them has gone.
struct alignas(8) xml_node_block {
  std::atomic<int> users;
  std::uint32_t bytes;

  /// The place of a record is counted in steps of 8 bytes from the block's start.
  static constexpr size_t step = 8;
  static constexpr size_t largest = 32 * 1024;

  static void leave(xml_node_block *block, int records);
};

/// Hands out room for the records of one reading or copying, from blocks of 1 KB at first and 32 KB in the end. The
/// records outlive this object. Each counts as one allocation of baseDymicAlloc.
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
    distance = static_cast<std::uint32_t>(m_used / xml_node_block::step);
    m_used += bytes;
    ++m_records;
    return record;
  }

private:
  void open(size_t bytes);
  void close();

  xml_node_block *m_block = nullptr;
  size_t m_used = 0;
  size_t m_next_size = 1024;
  int m_records = 0; // of the open block
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
  int m_all_records = 0;
};

} // namespace zar
