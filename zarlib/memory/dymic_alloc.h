// baseDymicAlloc: the counting front of the process heap.
#pragma once

#include "zarlib/export.h"

/// The heap of the library's own classes, and their base.
///
/// Every block that they take passes through here, so that dump() can tell the balance. The class has no members; what
/// counts is one object per process, which exists from the first construction or call on and serves until the process
/// has ended, static destructors included. Any thread may call anything; a call costs what the run-time library's heap
/// costs, and one atomic addition for each count that grows.
class ZAR_API baseDymicAlloc {
public:
  /// Makes sure that the counters exist.
  baseDymicAlloc();

  /// Takes a block from the run-time library's heap. The allocation count grows by 1, also when the heap is exhausted.
  /// @param bytes  A negative number asks for more than any heap has.
  /// @return The block, aligned for any plain type and owned by the caller; null when there is none.
  void *alloc(int bytes);

  /// Gives a block back. The free count grows by 1, also for null, which is otherwise harmless.
  void free(void *p);

  /// Changes a block's size, as the run-time library's realloc() does: the content stays up to the smaller size, and
  /// null leaves the old block as it was. The allocation count grows by 1 whatever happens, and the free count too if p
  /// is not null.
  void *realloc(void *p, int bytes);

  /// Writes "memory alloc(%d) and free(%d) leak(%d)" to stderr as consolePrintf() does: both counts, and their
  /// difference. The three figures belong together only while no other thread allocates.
  static void dump();
};

/// Does nothing.
ZAR_API void wDumpTask();
