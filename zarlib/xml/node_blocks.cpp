#include "zarlib/xml/node_blocks.h"

#include "zarlib/memory/dymic_alloc_helper.h"
#include "zarlib/platform/large_page.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>

namespace zar {

// A block being filled has this many users, as its final number of records is not known yet.
static constexpr int while_open = std::numeric_limits<int>::max() / 2;

static_assert((xml_node_block::largest_in_heap - xml_node_block::step) / xml_node_block::step ==
                  xml_node_block::in_large_page,
              "only a block's last step has that place, and no record fits there");

xml_node_block *xml_node_block::of(void *record, std::uint32_t distance) {
  const size_t above = distance == in_large_page ? reinterpret_cast<std::uintptr_t>(record) % platform::large_page_size
                                                 : distance * step;
  return reinterpret_cast<xml_node_block *>(static_cast<char *>(record) - above);
}

void xml_node_block::leave(xml_node_block *block, int records) {
  if (block->users.fetch_sub(records, std::memory_order_acq_rel) != records) return;
  if (block->bytes > largest_in_heap) return platform::give_back_large_page(block);
  std::free(block);
}

void xml_node_blocks::open(size_t bytes) {
  close();
  void *memory = m_taken >= enough_for_pages ? platform::take_large_page() : nullptr;
  m_in_large_page = memory != nullptr;
  size_t size = platform::large_page_size;
  if (!memory) {
    size = std::clamp(m_taken, std::max(smallest, sizeof(xml_node_block) + bytes), xml_node_block::largest_in_heap);
    memory = std::malloc(size);
  }
  if (!memory) throw std::bad_alloc();
  m_block = ::new (memory) xml_node_block{{while_open}, static_cast<std::uint32_t>(size)};
  m_used = sizeof(xml_node_block);
  m_taken += size;
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
  xml_node_block *const block = xml_node_block::of(record, distance);
  if (block != m_block && m_block) {
    xml_node_block::leave(m_block, m_records);
    m_records = 0;
  }
  m_block = block;
  ++m_records;
}

xml_node_returns::~xml_node_returns() {
  if (m_block) xml_node_block::leave(m_block, m_records);
  dymicAllocHelper::getInstance().count_frees(static_cast<int>(m_all_records));
}

} // namespace zar
