// The named object table: blocks of memory by name, shared by all code of the process.
//
// Whoever asks first for a name gets a new block of the size asked for, everyone later the same block, and the answer tells which
// of the two it was. The table is one block of 8 KiB, so ask for small things: about 8000 bytes for all blocks with their names.
//
//     int created = 0;
//     nameHelperLock();
//     auto *counters = static_cast<counter_block *>(nameGetSystemObject("counters", sizeof(counter_block), &created));
//     if (created) counters->clear();                 // no other thread sees the block before it is ready
//     nameHelperUnlock();
#pragma once

#include "zarlib/export.h"
#include "zarlib/frame/local_objects.h"
#include "zarlib/frame/object_frame.h"
#include "zarlib/memory/pool_alloc.h"

#include <string>

/// A chain of named blocks, sorted by name, and the head of it: 8 bytes, a storage format.
///
/// Records and names come from the basePoolAlloc that stands directly before this object.
/// REQUIRES: there is one. Names go by all their bytes, in case too; the empty name is a name.
///
/// The walk and the links are not guarded: threads that share a chain bracket their calls with nameHelperLock(). Only the text of a
/// name is stored and released under that lock, which is taken where the thread does not hold it. A call costs a walk over the names
/// ahead of the one searched; no heap is touched.
class ZAR_API chNamedObjectManager {
public:
  /// An empty chain.
  chNamedObjectManager() = default;
  chNamedObjectManager(const chNamedObjectManager &) = delete;
  /// Both forms copy the two words as they stand; a copied head is the head of nothing, unless the whole block was copied.
  chNamedObjectManager &operator=(const chNamedObjectManager &) = default;
  chNamedObjectManager &operator=(chNamedObjectManager &&) = default;

  /// Finds the block of that name, or makes it.
  /// @param size     Bytes of a new block, on a multiple of 4 and not cleared; not looked at when the name exists.
  /// @param created  Receives 1 when the block is new, else 0; may be null.
  /// @return The block. Null, with `created` 0, when a new one was asked for with a negative size or one near 2 GiB. When the pool
  ///         is exhausted, the process faults: that is settled, and the pool's dump tells what filled it.
  void *GetNamedObject(const std::string &name, int size, int *created);

  /// @return The block of that name, or null.
  void *FindNamedObject(const std::string &name) const;

  /// Frees the block of that name, for every holder; an unknown name does nothing.
  void FreeNamedObject(const std::string &name);

protected:
  /// Frees a block. REQUIRES: it is a block of this chain.
  void FreeObject(void *object);

private:
  list_chain_offset m_head;
};

static_assert(sizeof(chNamedObjectManager) == 8, "a storage format");

/// The object of the block "ipc_system_named", 8192 bytes and a storage format: docs/formats/named-block.md.
///
///     offset 0    8      ipcObjectHeader: 8192, then 4099
///     offset 8    16     basePoolAlloc
///     offset 24   8      chNamedObjectManager
///     offset 32   8160   pool area
class ZAR_API chSystemNamedObject : public ipcObjectHeader {
public:
  chSystemNamedObject();

  basePoolAlloc &pool() { return m_pool; }
  chNamedObjectManager &objects() { return m_objects; }

private:
  basePoolAlloc m_pool;
  chNamedObjectManager m_objects;
  unsigned char m_area[8160];
};

static_assert(sizeof(chSystemNamedObject) == 8192, "a storage format");

namespace zar {
struct named_table;
}

/// Holds the table of this process open, from its first use to process exit, with all that is in it.
class ZAR_API uCSystemNamedObjectHelper : public ipcObjectFrame<chSystemNamedObject, chMapFile_Local, chMutex_Local> {
public:
  /// Any thread; asked for by the very thread that is building it, it ends the process with a message.
  static uCSystemNamedObjectHelper &getInstance();

private:
  friend struct zar::named_table;
  uCSystemNamedObjectHelper();
  ~uCSystemNamedObjectHelper();
};

extern "C" {

/// chNamedObjectManager::GetNamedObject() on the process's table. A null name is refused, and so is everything once the table has been
/// closed at process exit: null, with `created` 0.
ZAR_API void *nameGetSystemObject(const char *name, int size, int *created);

/// Locks the table against other threads that bracket their calls; waits without limit. Not to be nested on one thread.
/// @return 1; 0 once the table has been closed at process exit.
ZAR_API int nameHelperLock();
ZAR_API void nameHelperUnlock();
}
