// chMapFile_Local and chMutex_Local: named blocks and named mutexes inside this process.
//
// They answer to the same calls as chMapFile and chMutex, so that ipcObjectFrame takes either family. A name leads to a record in
// a table of the process; it is taken as it stands, byte for byte. The first opener of a name is its creator; when it closes
// while others stay, nobody is. The record lives until its last reference is closed, and a later opener starts afresh.
//
// Open and close may be called on any thread, on one object by one thread at a time; they take getStaticObjectCritical() for the
// time of one table look-up. Never call them while holding that lock if another thread may hold a chMutex_Local and open or
// close: a chMutex_Local may be held when the static lock is taken, never the other way round.
//
// At process exit the tables outlive every object of static or automatic storage; objects on the heap are to be closed before.
#pragma once

#include "zarlib/export.h"
#include "zarlib/memory/dymic_alloc.h"

#include <string>

struct mapFileLocalRecord;
struct mutexLocalRecord;

/// A block of the process heap under a name.
///
///                  closed                                   open
///     OpenMapFile  opens; stays closed in effect on null    REQUIRES: not called; the first reference would be kept for good
///     CloseMapFile nothing                                  gives the reference back, closed
///     IsCreateByMe 0                                        1 for the creator, else 0
///     destructor   nothing                                  closes nothing; close before
class ZAR_API chMapFile_Local : public baseDymicAlloc {
public:
  chMapFile_Local();
  chMapFile_Local(const chMapFile_Local &) = delete;
  chMapFile_Local &operator=(const chMapFile_Local &) = delete;
  ~chMapFile_Local();

  /// Opens the block of that name, or makes it.
  /// @param size  Bytes of a new block, whose content is not cleared; not looked at when the block exists.
  /// @return The block; it stays where it is until the last reference is closed. Null when the heap is exhausted or a new block
  ///         was asked for with a negative size: a reference to the empty record is held all the same, and CloseMapFile() ends it.
  void *OpenMapFile(const std::string &name, int size);

  /// Gives the reference back; the last one frees the block as raw memory.
  void CloseMapFile();
  /// CloseMapFile() under another name.
  void DestroyMapFile();

  /// @return 1 when this object made the block and still holds it, else 0.
  int IsCreateByMe() const;

  /// Does nothing: a block of the heap is always up to date.
  void Flush();

private:
  mapFileLocalRecord *m_record = nullptr;
};

/// A mutex of this process under a name: a chCriticalSection, and like it not to be nested on one thread.
///
///                          closed     open
///     OpenMutexA           opens      REQUIRES: not called; the first reference would be kept for good
///     Lock                 0          waits, 1
///     Unlock               nothing    as chCriticalSection::Unlock()
///     IsLockedByThisThread 0          1 or 0
///     IsCreateByMe         0          1 for the creator, else 0
///     CloseMutex           nothing    gives the reference back, closed
///     destructor           nothing    closes nothing; close before
///
/// A copy holds the same record without a reference of its own: it must not be used after the original has closed, and only one
/// of the two may close.
class ZAR_API chMutex_Local : public baseDymicAlloc {
public:
  chMutex_Local();
  chMutex_Local(const chMutex_Local &) = default;
  chMutex_Local &operator=(const chMutex_Local &) = default;
  ~chMutex_Local();

  /// Opens the mutex of that name, or makes it, free. @return 1, always.
  int OpenMutexA(const std::string &name);

  /// Waits until the mutex is free and takes it.
  /// @param milliseconds  Ignored: the wait has no limit, whatever is given.
  /// @return 1, or 0 when closed.
  int Lock(int milliseconds);

  /// Gives the mutex back. One that nobody holds is left as it is, with a warning on stderr.
  void Unlock();

  /// @return 1 when this thread holds the mutex, through whichever object, else 0.
  int IsLockedByThisThread() const;

  /// @return 1 when this object made the mutex and still holds it open, else 0.
  int IsCreateByMe() const;

  /// Gives the reference back; the last one ends the mutex.
  /// REQUIRES: nobody holds the mutex when the last reference goes.
  void CloseMutex();
  /// CloseMutex() under another name.
  void DestroyMutex();

private:
  mutexLocalRecord *m_record = nullptr;
};
