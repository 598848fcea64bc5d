// chEvent, chMutex and chMapFile: objects of the session under a name, shared by all processes of the user.
//
// A name is cut to its last path part, so "a/b/c", "a\b\c/" and "c" are one name, and each class has names of its own. One object
// exists per name; its first opener is told so by IsCreateByMe(). The object goes when its last holder closes it or dies, by
// whatever death, and the next opener starts afresh. On Windows these are the system's kernel objects, and a name ends at its
// first NUL byte; on Linux they live in shared memory with rights for the owner alone, as docs/formats/kernel-objects.md tells,
// and all bytes of a name count. A process forked on Linux shares its parent's handles until it ends or starts another program.
//
// An object is opened and closed by one thread at a time; the waits, and what ends them, may be called on many threads at once.
// Nothing throws and nothing is written where a refusal is the answer, but for chMutex's two warnings.
#pragma once

#include "zarlib/export.h"

#include <string>

namespace zar::platform {
struct named_event;
struct named_mutex;
struct named_mapping;
} // namespace zar::platform

/// A signal that lets one waiter through, in whichever process it waits.
///
///                 closed        open
///     OpenEventA  opens         REQUIRES: not called; the first handle would be kept until the process ends
///     CloseEvent  nothing       closed
///     SetEvent    0             signals, 1
///     ResetEvent  nothing       takes the signal back
///     WaitEvent   0, at once    waits
///     destructor  nothing       closes
class ZAR_API chEvent {
public:
  chEvent() = default;
  /// A copy is a closed event of its own: the handle is not copied.
  chEvent(const chEvent &) noexcept;
  /// Does nothing.
  chEvent &operator=(const chEvent &) noexcept;
  ~chEvent();

  /// Opens the event of that name, or makes it, not signalled. @return 1, or 0 when the system refuses.
  int OpenEventA(const std::string &name);
  void CloseEvent();
  /// CloseEvent() under another name.
  void DestroyEvent();

  /// Signals: one wait, under way or to come, gets through. While signalled, more signals add nothing. @return 1, or 0.
  int SetEvent();
  void ResetEvent();

  /// Waits for the signal and takes it, so that no other waiter gets through by it.
  /// @param milliseconds  0 only looks; -1 waits without limit; any other number counts as unsigned.
  /// @return 1 when this call took the signal; 0 after the time, or when closed.
  int WaitEvent(int milliseconds);

  /// @return 1 when OpenEventA() made the event, or was refused; else 0.
  int IsCreateByMe() const;

private:
  int m_created = 0;
  zar::platform::named_event *m_handle = nullptr;
};

/// A lock between threads of any processes.
///
///                          closed              open
///     OpenMutexA           opens               REQUIRES: not called; the first handle would be kept until the process ends
///     Lock                 0 and a warning     waits
///     Unlock               a warning           gives back
///     IsLockedByThisThread 0                   1 or 0
///     CloseMutex           nothing             closed
///     destructor           nothing             nothing: the handle stays open until the process ends. Close before
///
/// The mutex belongs to a thread and may be taken again by it; but this class has one word for its holder, so Lock, Lock, Unlock
/// on one object leaves the mutex held with an Unlock that only warns. Not to be nested, therefore, through one object. A copy
/// shares the handle: close one of the two.
class ZAR_API chMutex {
public:
  chMutex() = default;

  /// Opens the mutex of that name, or makes it, free. @return 1, or 0 when the system refuses.
  int OpenMutexA(const std::string &name);

  /// Waits until the mutex is free and takes it.
  /// @param milliseconds  0 only tries; -1 waits without limit; any other number counts as unsigned.
  /// @return 1 when taken. 0 with IsLockedByThisThread() 1: taken from a thread that ended while it held the mutex, so what it guards
  ///         may be half changed; it is to be unlocked as ever. 0 else: not taken, and a warning on stderr tells the cause
  ///         ("Lock Mutex fail for ...", 102 for the time, ffffffff for a closed mutex).
  int Lock(int milliseconds);

  /// Gives the mutex back. One that was not locked through this object is left as it is, with a warning on stderr. On a thread
  /// other than the holder's it has no effect but that this object forgets the holder.
  void Unlock();

  /// @return 1 when this thread locked the mutex through this object, else 0. Costs two loads.
  int IsLockedByThisThread() const;

  /// @return 1 when OpenMutexA() made the mutex, or was refused; else 0.
  int IsCreateByMe() const;

  /// Closes; a mutex that is held stays so until its thread ends, and the holder is not forgotten.
  void CloseMutex();
  /// CloseMutex() under another name.
  void DestroyMutex();

private:
  zar::platform::named_mutex *m_handle = nullptr;
  int m_created = 0;
  mutable unsigned long m_owner = 0; // the thread that locked through this object; read and written atomically
};

/// A block of memory that several processes see, each at an address of its own.
///
///                  closed                             open
///     OpenMapFile  opens; close it also after null    REQUIRES: not called; the first handle would be kept until the process ends
///     CloseMapFile nothing                            closed; the view is gone
///     getData      null                               the view
///     IsCreateByMe as the last open left it           1 for the creator, else 0
///     destructor   nothing                            nothing: the view stays until the process ends. Close before
///
/// A copy shares view and handle: close one of the two.
class ZAR_API chMapFile {
public:
  chMapFile() = default;

  /// OpenMapFile(name, -1).
  void *OpenMapFile(const std::string &name);

  /// Opens the block of that name, or makes it, filled with zeros.
  /// @param size  Bytes of a new block, rounded up to whole pages. -1, and any other number below 0, opens an existing block only; 0
  ///              is refused. An existing block is opened as it is, whatever its size.
  /// @return The whole block; null when the system refuses, or has no room.
  void *OpenMapFile(const std::string &name, int size);

  void CloseMapFile();
  /// CloseMapFile() under another name.
  void DestroyMapFile();

  /// @return The block, or null.
  void *getData() const;

  /// @return 1 when the last OpenMapFile() made the block, else 0; closing does not change it.
  int IsCreateByMe() const;

  /// Does nothing: all processes see one memory.
  void Flush();

private:
  int m_created = 0;
  void *m_view = nullptr;
  zar::platform::named_mapping *m_handle = nullptr;
};
