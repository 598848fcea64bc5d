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

constexpr int smallest_payload = 8; // a free-list node
constexpr int smallest_cell = 12;
constexpr unsigned header_size = sizeof(pool_chain);
constexpr unsigned largest_slack = 12; // included in the allocation rather than split off

// The allocator's offset in its block's object, where a dump begins.
constexpr int offset_in_object = 8;

// Unsigned, so that the largest request rounds up to more than any cell has.
unsigned payload_for(int bytes) { return (static_cast<unsigned>(std::max(bytes, smallest_payload)) + 3) & ~3u; }

pool_chain *cell_at(const basePoolAlloc *origin, std::intptr_t distance) {
  return reinterpret_cast<pool_chain *>(reinterpret_cast<std::uintptr_t>(origin) +
                                        static_cast<std::uintptr_t>(distance));
}

pool_chain *cell_of(const void *p) {
  return pool_chain::get_pCell(static_cast<list_chain_offset *>(const_cast<void *>(p)));
}

// Links of the free list are never null; telling the compiler so keeps the test out of the searches.
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

unsigned size_of(const pool_chain *cell) { return static_cast<unsigned>(cell->get_nPoolSize()); }

// The list is in address order, so a right neighbour is free exactly when it is next in the list; asking the list
// leaves the memory of used cells untouched.
bool is_right_neighbour(const list_chain_offset *next, const list_chain_offset *node, unsigned reach) {
  return reinterpret_cast<std::uintptr_t>(node) + reach == reinterpret_cast<std::uintptr_t>(next);
}

// Splits a listed free cell of `reach` bytes after its first `kept`; `next` is its successor in the list. The old links
// between the two are overwritten unread.
// @return The cell. Out of line, to keep register pressure in the search low.
[[gnu::noinline]] pool_chain *cut_cell(pool_chain *cell, unsigned reach, unsigned kept, list_chain_offset *next) {
  cell->set_iOffsetRightCell(kept);
  pool_chain *const rest = ::new (reinterpret_cast<char *>(cell) + kept) pool_chain;
  rest->set_iOffsetRightCell(reach - kept);
  rest->set_cell_free(true);
  list_chain_offset *const node = ::new (rest->get_pData()) list_chain_offset;
  chain_link(*cell->get_pData(), *node);
  chain_link(*node, *next);
  return cell;
}

// Address order. The head lies outside the pool, so unsigned wrapping puts it after every cell here and before every
// cell in is_before().
bool is_behind(const void *pool, const list_chain_offset *node, const pool_chain *cell) {
  const auto start = reinterpret_cast<std::uintptr_t>(pool);
  return reinterpret_cast<std::uintptr_t>(node) - start > reinterpret_cast<std::uintptr_t>(cell) - start;
}

bool is_before(const void *pool_end, const list_chain_offset *node, const pool_chain *cell) {
  const auto end = reinterpret_cast<std::uintptr_t>(pool_end);
  return end - reinterpret_cast<std::uintptr_t>(node) > end - reinterpret_cast<std::uintptr_t>(cell);
}

void list_cell(pool_chain *cell, list_chain_offset *before, list_chain_offset *behind) {
  list_chain_offset *const node = ::new (cell->get_pData()) list_chain_offset;
  chain_link(*before, *node);
  chain_link(*node, *behind);
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
  // After find_big_enough_cell() the cell is already cut to size, and mostly first in the list: no search.
  list_chain_offset *const first = next_of(&m_free);
  pool_chain *const cell = pool_chain::get_pCell(first);
  if (first == &m_free || size_of(cell) - payload_for(bytes) > largest_slack) return search_and_take(bytes);
  return take_cell(cell);
}

// Out of line like the other slow paths here, so that the fast ones need no stack frame.
[[gnu::noinline]] void *basePoolAlloc::search_and_take(int bytes) {
  pool_chain *const cell = find_big_enough_cell(bytes);
  if (cell) return take_cell(cell);
  dump_pool();
  return nullptr;
}

void *basePoolAlloc::take_cell(pool_chain *cell) {
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

  // Settled, callers rely on it: the result is not checked, so a full pool faults here, and the
  // cells joined stay joined.
  void *const moved = alloc(bytes);
  std::memcpy(moved, p, static_cast<size_t>(old_size));
  free(p);
  return moved;
}

int basePoolAlloc::get_available_bytes(void *p) const { return cell_of(p)->get_nPoolSize(); }

bool basePoolAlloc::is_valid_pointer(const void *p) const { return is_within(cell_of(p), begin_cell(), end_cell()); }

pool_chain *basePoolAlloc::find_big_enough_cell(int bytes) {
  const unsigned needed = payload_for(bytes) + header_size;
  list_chain_offset *next;
  for (list_chain_offset *node = next_of(&m_free); node != &m_free; node = next) {
    pool_chain *const cell = pool_chain::get_pCell(node);
    unsigned reach = cell->get_iOffsetRightCell();
    next = next_of(node);
    if (reach < needed) {
      if (!is_right_neighbour(next, node, reach)) continue;
      // The cell is written once, after the last neighbour is joined.
      do {
        list_chain_offset *const joined = next;
        reach += pool_chain::get_pCell(joined)->get_iOffsetRightCell();
        next = next_of(joined);
        joined->set_pNext(nullptr);
        joined->set_pPrev(nullptr);
      } while (reach < needed && is_right_neighbour(next, node, reach));
      if (reach <= needed + largest_slack) {
        cell->set_iOffsetRightCell(reach);
        chain_link(*node, *next);
        if (reach < needed) continue;
      }
    }
    return reach > needed + largest_slack ? cut_cell(cell, reach, needed, next) : cell;
  }
  return nullptr;
}

pool_chain *basePoolAlloc::begin_cell() const { return cell_at(this, m_nPoolOffset); }

pool_chain *basePoolAlloc::end_cell() const { return cell_at(this, std::intptr_t{m_nPoolOffset} + m_nPoolSize); }

void basePoolAlloc::push_free_cell(pool_chain *cell) {
  // In a pool used as a queue the place is right after the head or the first free cell.
  const pool_chain *const pool = begin_cell();
  list_chain_offset *const first = next_of(&m_free);
  if (is_behind(pool, first, cell)) return list_cell(cell, &m_free, first);
  list_chain_offset *const second = next_of(first);
  if (is_behind(pool, second, cell)) return list_cell(cell, first, second);
  push_far_cell(cell, next_of(second));
}

// Searches for the place in three directions, each short under a different usage pattern: up the free list from
// `up`, down from its end, and along the cells to the right. They advance in lockstep, so a free costs the
// shortest of the three.
[[gnu::noinline]] void basePoolAlloc::push_far_cell(pool_chain *cell, list_chain_offset *up) {
  const pool_chain *const pool = begin_cell(), *const end = end_cell();
  pool_chain *right = cell->get_pRight();
  list_chain_offset *down = previous_of(&m_free);
  for (;;) {
    if (is_behind(pool, up, cell)) return list_cell(cell, previous_of(up), up);
    if (is_before(end, down, cell)) return list_cell(cell, down, next_of(down));
    if (right >= end) return list_cell(cell, previous_of(&m_free), &m_free);
    if (right->is_free_cell()) return list_cell(cell, previous_of(right->get_pData()), right->get_pData());
    up = next_of(up);
    down = previous_of(down);
    right = right->get_pRight();
  }
}

void basePoolAlloc::pop_free_cell(pool_chain *cell) {
  list_chain_offset *const node = cell->get_pData();
  chain_link(*previous_of(node), *next_of(node));
  node->set_pNext(nullptr);
  node->set_pPrev(nullptr);
}

void basePoolAlloc::disjoin_big_cell(pool_chain *cell, int bytes) {
  if (cell->get_nPoolSize() - smallest_cell < bytes) return;
  cut_cell(cell, cell->get_iOffsetRightCell(), static_cast<unsigned>(bytes) + header_size, next_of(cell->get_pData()));
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
