// basePoolAlloc: a heap inside a block; pool_chain: its cell.
//
// The layout is a storage format; docs/formats/pool.md shows it byte for byte.
#pragma once

#include "zarlib/export.h"
#include "zarlib/memory/chains.h"

#include <cstdint>

/// A cell's header: the distance to the next cell, and whether this one is free. Exists only inside a pool.
///
///     offset 0   4 bytes    bit 31: free; bits 0 to 30: bytes to the right neighbour's header, this header included
///     offset 4   the rest   payload; in a free cell it starts with the free list's node, else it is the caller's bytes
class ZAR_API pool_chain {
public:
  /// Bytes to the right neighbour, in 31 bits; setting keeps the free flag.
  unsigned get_iOffsetRightCell() const { return m_header & distance_mask; }
  void set_iOffsetRightCell(unsigned distance) { m_header = (m_header & free_flag) | (distance & distance_mask); }

  /// @return The payload's size in bytes.
  int get_nPoolSize() const { return static_cast<int>(get_iOffsetRightCell()) - header_size; }

  /// The right neighbour; for the last cell, the end of the pool, where there is no cell.
  pool_chain *get_pRight() const {
    return reinterpret_cast<pool_chain *>(reinterpret_cast<std::uintptr_t>(this) + get_iOffsetRightCell());
  }
  void set_pRight(pool_chain *right) {
    set_iOffsetRightCell(
        static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(right) - reinterpret_cast<std::uintptr_t>(this)));
  }

  bool is_free_cell() const { return (m_header & free_flag) != 0; }
  void set_cell_free(bool free) { m_header = (m_header & distance_mask) | (free ? free_flag : 0); }

  /// From a cell to its payload, which is what a caller of alloc() holds, and back.
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

/// A heap inside a block of memory that the caller supplies, without absolute addresses.
///
/// Object and pool are moved and copied together, as one block. The object lies at offset 8 of the block's object,
/// where a dump begins. No lock: hold the block's lock around every call, find_big_enough_cell() included.
///
/// Cells lie side by side from the start of the pool to its end. The free list is sorted by address; allocation is
/// first fit and takes the lower part of the cell. A freed cell is not coalesced with its neighbours until a search
/// passes it. An allocation costs the free cells that it passes; a free costs the distance to its place in the list
/// from the nearest of the next free cell to the right, the list's start and its end. Each cell has 4 bytes of
/// overhead. Corruption, double free and freeing null are not detected.
class ZAR_API basePoolAlloc {
public:
  /// No pool yet: nothing can be allocated before init_pool().
  basePoolAlloc();
  basePoolAlloc(const basePoolAlloc &) = delete;
  /// Copies the 16 bytes verbatim; a copy is usable only where the pool was copied along.
  basePoolAlloc &operator=(const basePoolAlloc &) = default;
  /// Does nothing, nor does cleanup_pool(): the caller owns the memory.
  ~basePoolAlloc() = default;
  void cleanup_pool();

  /// Makes the whole block one free cell; its content is lost. Fewer than 12 bytes hold no cell, and
  /// the pool stays empty.
  /// @param pool  The start, aligned to 4, and within 2 GiB of this object.
  /// @return 1, always.
  int init_pool(void *pool, int bytes);

  /// Allocates a block, aligned to 4 bytes.
  /// @param bytes  Raised to at least 8 (from 0 and negative numbers too), then rounded up to a multiple of 4.
  /// @return The block. Its first 8 bytes hold 0xFF, the rest what was there before. Null when no cell is big enough,
  ///         after dumping the whole object and pool to "/log/%d-%p.data.dump" below zarGetAppDataRootPath() (process
  ///         id, address of the block's object; a later dump replaces it; if the directory is missing there is none).
  void *alloc(int bytes);

  /// Frees a block. REQUIRES: it came from this pool and was not freed since; null is not a block. Not checked.
  void free(void *p);

  /// Grows a block, in place if the cells to its right are free and suffice. Never shrinks.
  /// @param p  Null: alloc(bytes).
  /// @return The block, at p or elsewhere with the content copied. If the pool is too full to move it the process
  ///         faults, after the dump: ask find_big_enough_cell() first.
  void *realloc(void *p, int bytes);

  /// @return The payload size of p's cell: the requested size, rounded, and up to 12 bytes more; everything joined
  ///         where realloc() has grown it in place.
  int get_available_bytes(void *p) const;

  /// @return Whether the cell whose payload p would be starts inside the pool. Nothing else is checked.
  bool is_valid_pointer(const void *p) const;

  /// The search of alloc(): finds, joins and splits, but leaves the cell free. If it succeeds, so does
  /// alloc() of the same size.
  /// @return The cell, or null without a dump.
  pool_chain *find_big_enough_cell(int bytes);

protected:
  /// The first cell, and the end of the pool.
  pool_chain *begin_cell() const;
  pool_chain *end_cell() const;

  /// Inserts a cell into the free list in address order. REQUIRES: its flag is set, and it is not in the list.
  void push_free_cell(pool_chain *cell);
  /// Removes a cell from the free list; the flag stays.
  void pop_free_cell(pool_chain *cell);

  /// Splits a free cell after `bytes` of payload; the rest becomes a free cell. With less than 12 bytes to
  /// spare it does nothing.
  void disjoin_big_cell(pool_chain *cell, int bytes);

  /// Extends a cell over its right neighbour, if that is free. @return Whether it was.
  bool try_join_right_cell(pool_chain *cell);

  /// For debugging: whether the cell lies in the pool and its right neighbour after it, not beyond the end. If not, a
  /// warning on stderr tells what is wrong.
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
