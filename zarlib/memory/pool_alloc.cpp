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

  // Settled, callers rely on it: the result is not tested, so a pool too full ends in a fault here, and what was joined stays joined.
  void *const moved = alloc(bytes);
  std::memcpy(moved, p, static_cast<size_t>(old_size));
  free(p);
  return moved;
}

int basePoolAlloc::get_available_bytes(void *p) const { return cell_of(p)->get_nPoolSize(); }

bool basePoolAlloc::is_valid_pointer(const void *p) const { return is_within(cell_of(p), begin_cell(), end_cell()); }

pool_chain *basePoolAlloc::find_big_enough_cell(int bytes) {
  const unsigned payload = payload_for(bytes);
  for (list_chain_offset *node = m_free.get_pNext(); node != &m_free; node = node->get_pNext()) {
    pool_chain *const cell = pool_chain::get_pCell(node);
    while (static_cast<unsigned>(cell->get_nPoolSize()) < payload && try_join_right_cell(cell)) {
    }
    const auto size = static_cast<unsigned>(cell->get_nPoolSize());
    if (size < payload) continue;
    if (size > payload + largest_slack) disjoin_big_cell(cell, static_cast<int>(payload));
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
  pool_chain *const rest = ::new (reinterpret_cast<char *>(cell->get_pData()) + bytes) pool_chain;
  rest->set_pRight(cell->get_pRight());
  rest->set_cell_free(true);
  cell->set_pRight(rest);
  chain_insert_before(*cell->get_pData()->get_pNext(), *::new (rest->get_pData()) list_chain_offset);
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

// The first free node at a higher address, or the head. Three ways lead there, and each is short in a pool of another kind: along
// the cells to the right, up the free list from its start, down from its end. Taken one step each in turn, the shortest of the
// three decides what a free costs.
list_chain_offset &basePoolAlloc::free_node_behind(pool_chain *cell) {
  list_chain_offset *const node = cell->get_pData();
  const pool_chain *const end = end_cell();
  pool_chain *right = cell->get_pRight();
  list_chain_offset *up = m_free.get_pNext();
  list_chain_offset *down = m_free.get_pPrev();
  for (;;) {
    if (right >= end) return m_free;
    if (right->is_free_cell()) return *right->get_pData();
    if (up == &m_free || up > node) return *up;
    if (down == &m_free || down < node) return *down->get_pNext();
    right = right->get_pRight();
    up = up->get_pNext();
    down = down->get_pPrev();
  }
}

void basePoolAlloc::dump_pool() const {
  const char *const object = reinterpret_cast<const char *>(this) - offset_in_object;
  const std::string path =
      zarGetAppDataRootPath() + qx::format_astring("/log/%d-%p.data.dump", static_cast<int>(zarGetCurrentProcessId()),
                                                   static_cast<const void *>(object));
  chFileStdio file(path, 0x1000);
  if (!file.IsFileOpened()) return;
  file.Write(object, m_nPoolOffset + m_nPoolSize + offset_in_object, 1);
  file.Close();
}
