// baseDymicAlloc: a counting wrapper of the process heap.
#pragma once

#include "zarlib/export.h"

/// The heap of the library's own classes, and their base.
///
/// All their blocks are allocated here, so that dump() can report the balance. The class has no members; the counters
/// are one object per process, which exists from the first construction or call and stays usable until the process has
/// ended, static destructors included. Any thread may call anything; a call costs what the run-time library's heap
/// costs, plus one atomic addition per count changed.
class ZAR_API baseDymicAlloc {
public:
  /// Ensures that the counters exist.
  baseDymicAlloc();

  /// Allocates a block from the run-time library's heap. The allocation count grows by 1, even when
  /// the heap is exhausted.
  /// @param bytes  A negative number requests more than any heap has.
  /// @return The block, aligned for any fundamental type and owned by the caller; null when there is none.
  void *alloc(int bytes);

  /// Frees a block. The free count grows by 1, even for null, which is otherwise harmless.
  void free(void *p);

  /// Resizes a block, like the run-time library's realloc(): the content is kept up to the smaller size, and null
  /// leaves the old block untouched. The allocation count always grows by 1, and the free count too if p is not null.
  void *realloc(void *p, int bytes);

  /// Writes "memory alloc(%d) and free(%d) leak(%d)" to stderr like consolePrintf(): both counts and their difference.
  /// The three figures are consistent only while no other thread allocates.
  static void dump();
};

/// Does nothing.
ZAR_API void wDumpTask();
