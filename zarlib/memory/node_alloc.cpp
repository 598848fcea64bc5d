#include "zarlib/memory/node_alloc.h"

#include "zarlib/memory/dymic_alloc_helper.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t word_size = sizeof(void *);
constexpr size_t head_size = 2 * word_size;

// A node is alternately a record of the caller and a free-list entry, so its words are accessed as bytes.
template <class Word>
Word word_of(const void *record, size_t index) {
  static_assert(sizeof(Word) == word_size);
  Word value;
  std::memcpy(&value, static_cast<const char *>(record) + index * word_size, word_size);
  return value;
}

template <class Word>
void set_word(void *record, size_t index, Word value) {
  static_assert(sizeof(Word) == word_size);
  std::memcpy(static_cast<char *>(record) + index * word_size, &value, word_size);
}

// A backward link holds the address of the previous node's own backward link.
void *backward_link(void *node) { return node ? static_cast<char *>(node) + word_size : nullptr; }

void *allocate_block(size_t bytes) {
  void *const block = std::malloc(bytes);
  dymicAllocHelper::getInstance().count_allocation();
  return block;
}

} // namespace

baseDynamicNodeAlloc_block::baseDynamicNodeAlloc_block() : m_nBorrowed(0), m_pFreeNode(nullptr), m_pBlock(nullptr) {
  dymicAllocHelper::getInstance();
}

baseDynamicNodeAlloc_block::~baseDynamicNodeAlloc_block() { cleanup_nodes(); }

void *baseDynamicNodeAlloc_block::borrow_node(int node_bytes, int nodes_per_block) {
  if (!m_pFreeNode) m_pFreeNode = AllocHashBlock(node_bytes, nodes_per_block);
  void *const node = m_pFreeNode;
  m_pFreeNode = word_of<void *>(node, 0);
  ++m_nBorrowed;
  return node;
}

void baseDynamicNodeAlloc_block::return_node(void *node) {
  if (node) set_word(node, 0, m_pFreeNode);
  if (m_pFreeNode) set_word(m_pFreeNode, 1, backward_link(node));
  --m_nBorrowed;
  // Settled, callers rely on it: null is accepted and empties the free list.
  m_pFreeNode = node;
}

void baseDynamicNodeAlloc_block::cleanup_nodes() {
  while (m_pBlock) {
    void *const next = word_of<void *>(m_pBlock, 0);
    std::free(m_pBlock);
    dymicAllocHelper::getInstance().count_free();
    m_pBlock = next;
  }
  m_nBorrowed = 0;
  m_pFreeNode = nullptr;
}

list_chain_pointer *baseDynamicNodeAlloc_block::AllocHashBlock(int node_bytes, int nodes_per_block) {
  const auto size = static_cast<size_t>(node_bytes);
  const auto count = static_cast<size_t>(std::max(nodes_per_block, 1));
  const size_t total = head_size + size * count;
  void *const block = allocate_block(total);
  set_word(block, 1, total);

  char *node = static_cast<char *>(block) + head_size;
  void *const first = node;
  set_word<void *>(node, 1, nullptr);
  for (size_t i = 1; i < count; ++i, node += size) {
    set_word<void *>(node, 0, node + size);
    set_word(node + size, 1, backward_link(node));
  }
  set_word<void *>(node, 0, nullptr);

  set_word(block, 0, m_pBlock);
  m_pBlock = block;
  return static_cast<list_chain_pointer *>(first);
}

bool baseDynamicNodeAlloc_block::IsValidPointer(void *p) const {
  const auto address = reinterpret_cast<std::uintptr_t>(p);
  for (void *block = m_pBlock; block; block = word_of<void *>(block, 0)) {
    const auto start = reinterpret_cast<std::uintptr_t>(block);
    // Settled, callers rely on it: the end address counts as inside.
    if (address >= start + head_size && address <= start + word_of<size_t>(block, 1)) return true;
  }
  return false;
}
