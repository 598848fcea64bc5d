// chMapFile_Local and chMutex_Local: named blocks and named mutexes within this process.
//
// They have the interface of chMapFile and chMutex, so that ipcObjectFrame takes either family. A name, taken byte for
// byte, maps to a record in a table of the process. The first opener of a name is its creator; once it closes while
// others remain, nobody is. The record lives until its last reference is closed; a later opener starts afresh.
//
// Open and close may be called by any thread, but by one thread at a time on each object; they take
// getStaticObjectCritical() for one table look-up. Lock order: a chMutex_Local may be held when the static lock is
// taken, never the other way round, so never open or close while holding the static lock if another thread may hold a
// chMutex_Local and open or close.
//
// At process exit the tables outlive every object of static or automatic storage duration; close heap objects before.
#pragma once

#include "zarlib/export.h"
#include "zarlib/memory/dymic_alloc.h"

#include <string>

struct mapFileLocalRecord;
struct mutexLocalRecord;

/// A named block on the process heap.
///
///                  closed                                   open
///     OpenMapFile  opens; stays closed in effect on null    REQUIRES: not called; the first reference would leak
///     CloseMapFile nothing                                  drops the reference; closed
///     IsCreateByMe 0                                        1 for the creator, else 0
///     destructor   nothing                                  nothing; close first
class ZAR_API chMapFile_Local : public baseDymicAlloc {
public:
  chMapFile_Local();
  chMapFile_Local(const chMapFile_Local &) = delete;
  chMapFile_Local &operator=(const chMapFile_Local &) = delete;
  ~chMapFile_Local();

  /// Opens the block of that name, or creates it.
  /// @param size  Bytes of a new block, whose content is uninitialised; ignored when the block exists.
  /// @return The block; it does not move until the last reference is closed. Null when the heap is exhausted or a new
  ///         block was requested with a negative size: even then a reference to the empty record is held, which
  ///         CloseMapFile() drops.
  void *OpenMapFile(const std::string &name, int size);

  /// Drops the reference; the last one frees the block as raw memory.
  void CloseMapFile();
  /// CloseMapFile() under another name.
  void DestroyMapFile();

  /// @return 1 when this object created the block and still holds it, else 0.
  int IsCreateByMe() const;

  /// Does nothing: heap memory is always up to date.
  void Flush();

private:
  mapFileLocalRecord *m_record = nullptr;
};

/// A named mutex of this process: a chCriticalSection, and like it not recursive.
///
///                          closed     open
///     OpenMutexA           opens      REQUIRES: not called; the first reference would leak
///     Lock                 0          waits, 1
///     Unlock               nothing    like chCriticalSection::Unlock()
///     IsLockedByThisThread 0          1 or 0
///     IsCreateByMe         0          1 for the creator, else 0
///     CloseMutex           nothing    drops the reference; closed
///     destructor           nothing    nothing; close first
///
/// A copy points to the same record without a reference of its own: it must not be used after the original has closed,
/// and only one of the two may close.
class ZAR_API chMutex_Local : public baseDymicAlloc {
public:
  chMutex_Local();
  chMutex_Local(const chMutex_Local &) = default;
  chMutex_Local &operator=(const chMutex_Local &) = default;
  ~chMutex_Local();

  /// Opens the mutex of that name, or creates it unlocked. @return 1, always.
  int OpenMutexA(const std::string &name);

  /// Waits until the mutex is free and acquires it.
  /// @param milliseconds  Ignored: the wait is always unlimited.
  /// @return 1, or 0 when closed.
  int Lock(int milliseconds);

  /// Releases the mutex. If nobody holds it, it only warns on stderr.
  void Unlock();

  /// @return 1 when this thread holds the mutex, through any object, else 0.
  int IsLockedByThisThread() const;

  /// @return 1 when this object created the mutex and still holds it open, else 0.
  int IsCreateByMe() const;

  /// Drops the reference; the last one destroys the mutex.
  /// REQUIRES: nobody holds the mutex when the last reference goes.
  void CloseMutex();
  /// CloseMutex() under another name.
  void DestroyMutex();

private:
  mutexLocalRecord *m_record = nullptr;
};
