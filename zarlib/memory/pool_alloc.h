// basePoolAlloc: a heap inside a block, and pool_chain, its cell.
//
// The bytes are a storage format; docs/formats/pool.md shows them.
#pragma once

#include "zarlib/export.h"
#include "zarlib/memory/chains.h"

#include <cstdint>

/// The header of a cell: how far it is to the next cell, and whether this one is free. It lies inside a pool and
/// nowhere else.
///
///     offset 0   4 bytes    bit 31: free; bits 0 to 30: bytes to the right neighbour's header, this header included
///     offset 4   the rest   payload; in a free cell the node of the free list first, else the caller's bytes
class ZAR_API pool_chain {
public:
  /// Bytes to the right neighbour, in 31 bits; setting keeps the flag.
  unsigned get_iOffsetRightCell() const { return m_header & distance_mask; }
  void set_iOffsetRightCell(unsigned distance) { m_header = (m_header & free_flag) | (distance & distance_mask); }

  /// @return The payload's size in bytes.
  int get_nPoolSize() const { return static_cast<int>(get_iOffsetRightCell()) - header_size; }

  /// The right neighbour; of the last cell, the end of the pool, where there is no cell.
  pool_chain *get_pRight() const {
    return reinterpret_cast<pool_chain *>(reinterpret_cast<std::uintptr_t>(this) + get_iOffsetRightCell());
  }
  void set_pRight(pool_chain *right) {
    set_iOffsetRightCell(
        static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(right) - reinterpret_cast<std::uintptr_t>(this)));
  }

  bool is_free_cell() const { return (m_header & free_flag) != 0; }
  void set_cell_free(bool free) { m_header = (m_header & distance_mask) | (free ? free_flag : 0); }

  /// The payload, which is what a caller of alloc() holds, and the cell of a payload.
  list_chain_offset *get_pData() {
    return reinterpret_cast<list_chain_offset *>(reinterpret_cast<char *>(this) + header_size);
  }
  static pool_chain *get_pCell(list_chain_offset *data) {
    return reinterpret_cast<pool_chain *>(reinterpret_cast<std::uintptr_t>(data) - header_size);
  }

private:
  static constexpr int header_size = 4;
  static constexpr std::uint32_t free_flag = 0x80000000;
  static constexpr std::uint32_t distance_mask = 0x7FFFFFFF;

  std::uint32_t m_header;
};

static_assert(sizeof(pool_chain) == 4, "a storage format");

/// A heap inside a block of memory that the caller supplies, with no absolute address anywhere.
///
/// Object and pool move, and are copied, together as one block. The object stands at offset 8 of the block's object: a
/// dump begins there. No lock: hold the lock of the block around every call, find_big_enough_cell() included.
///
/// Cells lie side by side from the start of the pool to its end. The free ones are listed by ascending address, and a
/// request gets the lower part of the first that is big enough. A freed cell is not joined with its neighbours until a
/// search comes by. An allocation costs the free cells that it passes; a free costs the way to its place in that list,
/// from whichever side is nearest: the next free cell to the right, the list's start, or its end. Each cell has 4 bytes
/// of overhead. Corruption, freeing twice and freeing null are not detected.
class ZAR_API basePoolAlloc {
public:
  /// No pool yet: nothing can be allocated before init_pool().
  basePoolAlloc();
  basePoolAlloc(const basePoolAlloc &) = delete;
  /// Copies the 16 bytes as they stand; a copy is of use only where the pool was copied along.
  basePoolAlloc &operator=(const basePoolAlloc &) = default;
  /// Does nothing, nor does cleanup_pool(): the memory is the caller's.
  ~basePoolAlloc() = default;
  void cleanup_pool();

  /// Makes the whole block one free cell. What was in it is lost. Fewer than 12 bytes hold no cell, and the pool stays
  /// empty.
  /// @param pool  The start, on a multiple of 4, and within 2 GiB of this object.
  /// @return 1, always.
  int init_pool(void *pool, int bytes);

  /// Takes a block, on a multiple of 4 bytes.
  /// @param bytes  Raised to 8 (from below, 0 and negative numbers too), then rounded up to a multiple of 4.
  /// @return The block. Its first 8 bytes hold 0xFF, the rest what was there. Null when no cell is big enough, after a
  ///         dump of the whole object and pool to "/log/%d-%p.data.dump" below zarGetAppDataRootPath() (process id,
  ///         address of the block's object; a later dump replaces it; without the folder there is none).
  void *alloc(int bytes);

  /// Gives a block back. REQUIRES: it came from this pool and was not freed since; null is not a block. Not tested.
  void free(void *p);

  /// Grows a block, in place where the cells to its right are free. Never shrinks.
  /// @param p  Null: alloc(bytes).
  /// @return The block, at p or elsewhere with the content copied. In a pool too full to move it the process faults,
  ///         after the dump: ask find_big_enough_cell() first.
  void *realloc(void *p, int bytes);

  /// @return The payload of p's cell: what was asked for, rounded, and up to 12 bytes more; all
  ///         that it was joined with where realloc() has grown it in place.
  int get_available_bytes(void *p) const;

  /// @return Whether the cell that p would be the payload of starts inside the pool. Nothing else is looked at.
  bool is_valid_pointer(const void *p) const;

  /// The search of alloc(): finds, joins and splits, but leaves the cell free. When it answers, alloc() of as much
  /// succeeds.
  /// @return The cell, or null; then nothing is dumped.
  pool_chain *find_big_enough_cell(int bytes);

protected:
  /// The first cell, and the end of the pool.
  pool_chain *begin_cell() const;
  pool_chain *end_cell() const;

  /// Enters a cell into the free list, at its place. REQUIRES: its flag is set, and it is not in the list.
  void push_free_cell(pool_chain *cell);
  /// Takes a cell out of the free list; the flag stays.
  void pop_free_cell(pool_chain *cell);

  /// Cuts a free cell behind `bytes` of payload; the rest becomes a free cell. With less than 12 bytes to spare nothing
  /// happens.
  void disjoin_big_cell(pool_chain *cell, int bytes);

  /// Extends a cell over its right neighbour, if that is free. @return Whether it was.
  bool try_join_right_cell(pool_chain *cell);

  /// For debugging: whether the cell lies in the pool, and its right neighbour behind it and not beyond the end. If
  /// not, a warning on stderr tells what is wrong.
  bool is_valid_cell(pool_chain *cell) const;

private:
  void *search_and_take(int bytes);
  void *take_cell(pool_chain *cell);
  void push_far_cell(pool_chain *cell, list_chain_offset *up);
  void dump_pool() const;

  std::int32_t m_nPoolSize;   // bytes of the pool
  std::int32_t m_nPoolOffset; // from this object to the first cell
  list_chain_offset m_free;
};

static_assert(sizeof(basePoolAlloc) == 16, "a storage format");
