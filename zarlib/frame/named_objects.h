// The named object table: memory blocks by name, shared by all code of the process.
//
// The first request for a name gets a new block of the requested size, later ones the same block; an out-parameter
// tells which. The table is a single 8 KiB block, for small things only: all blocks and names share about 8000 bytes.
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

/// The head of a chain of named blocks, sorted by name: 8 bytes, a storage format.
///
/// Records and names are allocated from the basePoolAlloc directly before this object.
/// REQUIRES: there is one. Names are compared byte for byte, case-sensitively; the empty name is valid.
///
/// Search and links are not locked: threads that share a chain bracket their calls with nameHelperLock(). Only storing
/// and releasing a name's text takes that lock, unless the thread already holds it. Cost: linear in the names that
/// precede the one searched for; no heap use.
class ZAR_API chNamedObjectManager {
public:
  /// An empty chain.
  chNamedObjectManager() = default;
  chNamedObjectManager(const chNamedObjectManager &) = delete;
  /// Both forms copy the two words verbatim; a copied head is no valid head unless the whole block was copied.
  chNamedObjectManager &operator=(const chNamedObjectManager &) = default;
  chNamedObjectManager &operator=(chNamedObjectManager &&) = default;

  /// Finds the block of that name, or creates it.
  /// @param size     Bytes of a new block, aligned to 4 and uninitialised; ignored when the name exists.
  /// @param created  Receives 1 when the block is new, else 0; may be null.
  /// @return The block. Null, with `created` 0, when a new block was requested with a negative size or one near 2 GiB.
  ///         When the pool is exhausted the process faults: that is settled, and the pool's dump shows what filled it.
  void *GetNamedObject(const std::string &name, int size, int *created);

  /// @return The block of that name, or null.
  void *FindNamedObject(const std::string &name) const;

  /// Frees the block of that name, whoever uses it; an unknown name does nothing.
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

/// Keeps the table of this process open, with its whole content, from first use to process exit.
class ZAR_API uCSystemNamedObjectHelper : public ipcObjectFrame<chSystemNamedObject, chMapFile_Local, chMutex_Local> {
public:
  /// Any thread; re-entered by the thread that is building it, it ends the process with a message.
  static uCSystemNamedObjectHelper &getInstance();

private:
  friend struct zar::named_table;
  uCSystemNamedObjectHelper();
  ~uCSystemNamedObjectHelper();
};

extern "C" {

/// chNamedObjectManager::GetNamedObject() on the process's table. Refused (null, with `created` 0) for a null name, and
/// always once the table has been closed at process exit.
ZAR_API void *nameGetSystemObject(const char *name, int size, int *created);

/// Locks the table against other threads that bracket their calls; waits without limit. Not recursive.
/// @return 1; 0 once the table has been closed at process exit.
ZAR_API int nameHelperLock();
ZAR_API void nameHelperUnlock();
}
