#include "zarlib/memory/pool_alloc.h"

#include "zarlib/companion/morfile.h"
#include "zarlib/companion/qxstl.h"
#include "zarlib/frame/process_identity.h"
#include "zarlib/text/environment.h"
#include "zarlib/trace/console.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <string>

static_assert(std::endian::native == std::endian::little, "the words of a pool are little-endian");

namespace {

constexpr int smallest_payload = 8; // the node of the free list
constexpr int smallest_cell = 12;
constexpr unsigned largest_slack = 12; // handed out with the request rather than split off

// The allocator's place in the object of its block; a dump begins at that object.
constexpr int offset_in_object = 8;

// In unsigned arithmetic, so that the largest request rounds up to what no cell has.
unsigned payload_for(int bytes) { return (static_cast<unsigned>(std::max(bytes, smallest_payload)) + 3) & ~3u; }

pool_chain *cell_at(const basePoolAlloc *origin, std::intptr_t distance) {
  return reinterpret_cast<pool_chain *>(reinterpret_cast<std::uintptr_t>(origin) +
                                        static_cast<std::uintptr_t>(distance));
}

pool_chain *cell_of(const void *p) {
  return pool_chain::get_pCell(static_cast<list_chain_offset *>(const_cast<void *>(p)));
}

// The links of the free list are never null, and saying so keeps the test for it out of the searches.
list_chain_offset *next_of(const list_chain_offset *node) {
  list_chain_offset *const next = node->get_pNext();
  if (!next) __builtin_unreachable();
  return next;
}

list_chain_offset *previous_of(const list_chain_offset *node) {
  list_chain_offset *const previous = node->get_pPrev();
  if (!previous) __builtin_unreachable();
  return previous;
}

unsigned distance(const void *from, const void *to) {
  return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(to) - reinterpret_cast<std::uintptr_t>(from));
}

unsigned size_of(const pool_chain *cell) { return static_cast<unsigned>(cell->get_nPoolSize()); }

// Makes two nodes neighbours in their list.
void link_nodes(list_chain_offset *first, list_chain_offset *second) {
  first->set_pNext(second);
  second->set_pPrev(first);
}

// Cuts a listed free cell behind `payload` bytes; `next` is its neighbour in the list.
void cut_cell(pool_chain *cell, int payload, list_chain_offset *next) {
  pool_chain *const rest = ::new (reinterpret_cast<char *>(cell->get_pData()) + payload) pool_chain;
  rest->set_pRight(cell->get_pRight());
  rest->set_cell_free(true);
  cell->set_pRight(rest);
  list_chain_offset *const node = ::new (rest->get_pData()) list_chain_offset;
  link_nodes(node, next);
  link_nodes(cell->get_pData(), node);
}

// Extends a listed free cell over free right neighbours until it holds `payload` bytes. The list is in the order of the
// cells, so a right neighbour is free exactly when it is the next in the list; asking it so leaves the memory of used
// cells alone. The links are written once, behind the last cell joined.
// @return The cell's neighbour in the list, now.
list_chain_offset *join_right_cells(pool_chain *cell, list_chain_offset *next, unsigned payload) {
  pool_chain *right = cell->get_pRight();
  if (right != pool_chain::get_pCell(next)) return next;
  do {
    list_chain_offset *const joined = next;
    next = next_of(joined);
    right = right->get_pRight();
    joined->set_pNext(nullptr);
    joined->set_pPrev(nullptr);
  } while (distance(cell->get_pData(), right) < payload && right == pool_chain::get_pCell(next));
  cell->set_pRight(right);
  link_nodes(cell->get_pData(), next);
  return next;
}

bool is_within(const pool_chain *cell, const pool_chain *begin, const pool_chain *end) {
  return cell >= begin && cell < end;
}

} // namespace

basePoolAlloc::basePoolAlloc() : m_nPoolSize(0), m_nPoolOffset(0) {}

void basePoolAlloc::cleanup_pool() {}

int basePoolAlloc::init_pool(void *pool, int bytes) {
  m_nPoolOffset =
      static_cast<std::int32_t>(reinterpret_cast<std::uintptr_t>(pool) - reinterpret_cast<std::uintptr_t>(this));
  m_nPoolSize = std::max(bytes, 0);
  m_free = list_chain_offset();
  if (bytes < smallest_cell) return 1;

  pool_chain *const cell = ::new (pool) pool_chain;
  cell->set_pRight(end_cell());
  cell->set_cell_free(true);
  push_free_cell(cell);
  return 1;
}

void *basePoolAlloc::alloc(int bytes) {
  pool_chain *const cell = find_big_enough_cell(bytes);
  if (!cell) {
    dump_pool();
    return nullptr;
  }
  cell->set_cell_free(false);
  pop_free_cell(cell);
  return cell->get_pData();
}

void basePoolAlloc::free(void *p) {
  pool_chain *const cell = cell_of(p);
  cell->set_cell_free(true);
  push_free_cell(cell);
}

void *basePoolAlloc::realloc(void *p, int bytes) {
  if (!p) return alloc(bytes);
  pool_chain *const cell = cell_of(p);
  const int old_size = cell->get_nPoolSize();
  while (cell->get_nPoolSize() < bytes && try_join_right_cell(cell)) {
  }
  if (cell->get_nPoolSize() >= bytes) return p;

  // Settled, callers rely on it: the result is not tested, so a pool too full ends in a fault here, and what was joined
  // stays joined.
  void *const moved = alloc(bytes);
  std::memcpy(moved, p, static_cast<size_t>(old_size));
  free(p);
  return moved;
}

int basePoolAlloc::get_available_bytes(void *p) const { return cell_of(p)->get_nPoolSize(); }

bool basePoolAlloc::is_valid_pointer(const void *p) const { return is_within(cell_of(p), begin_cell(), end_cell()); }

pool_chain *basePoolAlloc::find_big_enough_cell(int bytes) {
  const unsigned payload = payload_for(bytes);
  list_chain_offset *next;
  for (list_chain_offset *node = next_of(&m_free); node != &m_free; node = next) {
    pool_chain *const cell = pool_chain::get_pCell(node);
    next = next_of(node);
    if (size_of(cell) < payload) next = join_right_cells(cell, next, payload);
    if (size_of(cell) < payload) continue;
    if (size_of(cell) > payload + largest_slack) cut_cell(cell, static_cast<int>(payload), next);
    return cell;
  }
  return nullptr;
}

pool_chain *basePoolAlloc::begin_cell() const { return cell_at(this, m_nPoolOffset); }

pool_chain *basePoolAlloc::end_cell() const { return cell_at(this, std::intptr_t{m_nPoolOffset} + m_nPoolSize); }

void basePoolAlloc::push_free_cell(pool_chain *cell) {
  list_chain_offset &behind = free_node_behind(cell);
  chain_insert_before(behind, *::new (cell->get_pData()) list_chain_offset);
}

void basePoolAlloc::pop_free_cell(pool_chain *cell) { chain_unlink(*cell->get_pData()); }

void basePoolAlloc::disjoin_big_cell(pool_chain *cell, int bytes) {
  if (cell->get_nPoolSize() - smallest_cell < bytes) return;
  cut_cell(cell, bytes, next_of(cell->get_pData()));
}

bool basePoolAlloc::try_join_right_cell(pool_chain *cell) {
  pool_chain *const right = cell->get_pRight();
  if (right >= end_cell() || !right->is_free_cell()) return false;
  pop_free_cell(right);
  cell->set_pRight(right->get_pRight());
  return true;
}

bool basePoolAlloc::is_valid_cell(pool_chain *cell) const {
  pool_chain *const begin = begin_cell();
  pool_chain *const end = end_cell();
  if (!is_within(cell, begin, end)) {
    zarOutputWarningString("pCell %p not in [%p %p]", static_cast<void *>(cell), static_cast<void *>(begin),
                           static_cast<void *>(end));
    return false;
  }
  pool_chain *const right = cell->get_pRight();
  if (right <= cell || right > end) {
    zarOutputWarningString("pRight %p not in [%p %p %p]", static_cast<void *>(right), static_cast<void *>(begin),
                           static_cast<void *>(cell), static_cast<void *>(end));
    return false;
  }
  return true;
}

// The first free node at a higher address, or the head. Three ways lead there, and each is short in a pool of another
// kind: up the free list from its start, down from its end, along the cells to the right. Taken one step each in turn,
// the shortest of the three decides what a free costs.
list_chain_offset &basePoolAlloc::free_node_behind(pool_chain *cell) {
  list_chain_offset *const node = cell->get_pData();
  const pool_chain *const end = end_cell();
  pool_chain *right = cell->get_pRight();
  list_chain_offset *up = next_of(&m_free);
  list_chain_offset *down = previous_of(&m_free);
  for (;;) {
    if (up == &m_free || up > node) return *up;
    if (down == &m_free || down < node) return *next_of(down);
    if (right >= end) return m_free;
    if (right->is_free_cell()) return *right->get_pData();
    up = next_of(up);
    down = previous_of(down);
    right = right->get_pRight();
  }
}

void basePoolAlloc::dump_pool() const {
  const char *const object = reinterpret_cast<const char *>(this) - offset_in_object;
  const std::string path =
      zarGetAppDataRootPath() + qx::format_astring("/log/%d-%p.data.dump", static_cast<int>(zarGetCurrentProcessId()),
                                                   static_cast<const void *>(object));
  chFileStdio file(path, chFileStdio::mode_anew);
  if (!file.IsFileOpened()) return;
  file.Write(object, m_nPoolOffset + m_nPoolSize + offset_in_object, 1);
  file.Close();
}
