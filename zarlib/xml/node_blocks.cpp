#include "zarlib/xml/node_blocks.h"

#include "zarlib/memory/dymic_alloc_helper.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>

namespace zar {

// While a block is being filled nobody knows how many records it will have; until then it has this many users.
static constexpr int while_open = std::numeric_limits<int>::max() / 2;

void xml_node_block::leave(xml_node_block *block, int records) {
  if (block->users.fetch_sub(records, std::memory_order_acq_rel) == records) std::free(block);
}

void xml_node_blocks::open(size_t bytes) {
  close();
  const size_t size = std::max(m_next_size, sizeof(xml_node_block) + bytes);
  void *const memory = std::malloc(size);
  if (!memory) throw std::bad_alloc();
  m_block = ::new (memory) xml_node_block{{while_open}, static_cast<std::uint32_t>(size)};
  m_used = sizeof(xml_node_block);
  m_next_size = std::min(2 * m_next_size, xml_node_block::largest);
}

void xml_node_blocks::close() {
  if (!m_block) return;
  dymicAllocHelper::getInstance().count_allocations(m_records);
  xml_node_block::leave(m_block, while_open - m_records);
  m_block = nullptr;
  m_records = 0;
}

void xml_node_returns::give_back(void *record, std::uint32_t distance) {
  ++m_all_records;
  if (distance == 0) {
    std::free(record);
    return;
  }
  auto *const block =
      reinterpret_cast<xml_node_block *>(static_cast<char *>(record) - size_t(distance) * xml_node_block::step);
  if (block != m_block && m_block) {
    xml_node_block::leave(m_block, m_records);
    m_records = 0;
  }
  m_block = block;
  ++m_records;
}

xml_node_returns::~xml_node_returns() {
  if (m_block) xml_node_block::leave(m_block, m_records);
  dymicAllocHelper::getInstance().count_frees(m_all_records);
}

} // namespace zar
