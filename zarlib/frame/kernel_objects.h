// chEvent, chMutex and chMapFile: named objects of the session, shared by all processes of the user.
//
// A name is reduced to its last path component, so "a/b/c", "a\b\c/" and "c" are one name; each class has its own
// namespace. One object exists per name; IsCreateByMe() tells its first opener. The object goes away when its last
// holder closes it or dies, however it dies, and the next opener starts afresh. On Windows these are kernel objects,
// and a name ends at its first NUL byte. On Linux they live in shared memory accessible to the owner only
// (docs/formats/kernel-objects.md), and all bytes of a name count; a forked process shares its parent's handles until
// it ends or executes another program.
//
// Open and close an object from one thread at a time; waiting, signalling and unlocking may be called by many threads
// at once. Nothing throws; failures are reported by the return value only, except for chMutex's two warnings.
#pragma once

#include "zarlib/export.h"

#include <string>

namespace zar::platform {
struct named_event;
struct named_mutex;
struct named_mapping;
} // namespace zar::platform

/// An auto-reset event: each signal releases one waiter, in whichever process it waits.
///
///                 closed        open
///     OpenEventA  opens         REQUIRES: not called; the first handle would leak until process exit
///     CloseEvent  nothing       closed
///     SetEvent    0             signals, 1
///     ResetEvent  nothing       clears the signal
///     WaitEvent   0, at once    waits
///     destructor  nothing       closes
class ZAR_API chEvent {
public:
  chEvent() = default;
  /// The copy is a separate, closed event: the handle is not copied.
  chEvent(const chEvent &) noexcept;
  /// Does nothing.
  chEvent &operator=(const chEvent &) noexcept;
  ~chEvent();

  /// Opens the event of that name, or creates it unsignalled. @return 1, or 0 when the system refuses.
  int OpenEventA(const std::string &name);
  void CloseEvent();
  /// CloseEvent() under another name.
  void DestroyEvent();

  /// Signals: releases one waiter, present or future; no effect on an event already signalled. @return 1, or 0.
  int SetEvent();
  void ResetEvent();

  /// Waits for the signal and consumes it, so that it releases no other waiter.
  /// @param milliseconds  0 only polls; -1 waits without limit; any other number is taken as unsigned.
  /// @return 1 when this call consumed the signal; 0 on time-out, or when closed.
  int WaitEvent(int milliseconds);

  /// @return 1 when OpenEventA() created the event, or was refused; else 0.
  int IsCreateByMe() const;

private:
  int m_created = 0;
  zar::platform::named_event *m_handle = nullptr;
};

/// A lock between threads of any processes of the session.
///
///                          closed              open
///     OpenMutexA           opens               REQUIRES: not called; the first handle would leak until process exit
///     Lock                 0 and a warning     waits
///     Unlock               a warning           releases
///     IsLockedByThisThread 0, see CloseMutex   1 or 0
///     CloseMutex           nothing             closed
///     destructor           nothing             nothing: the handle stays open until the process ends; close first
///
/// The system's mutex is recursive, but this class has only one owner word: after Lock, Lock, Unlock on one object the
/// mutex is still held, and a second Unlock only warns. So do not nest through one object. A copy shares the handle:
/// close only one of the two.
class ZAR_API chMutex {
public:
  chMutex() = default;

  /// Opens the mutex of that name, or creates it unlocked. @return 1, or 0 when the system refuses.
  int OpenMutexA(const std::string &name);

  /// Waits until the mutex is free and acquires it.
  /// @param milliseconds  0 only tries; -1 waits without limit; any other number is taken as unsigned.
  /// @return 1 when acquired. 0 with IsLockedByThisThread() 1: acquired, but the previous holder's thread ended without
  ///         unlocking, so the guarded data may be inconsistent; unlock it as usual. 0 otherwise: not acquired, and a
  ///         warning on stderr tells why ("Lock Mutex fail for ...", 102 for a time-out, ffffffff for a closed mutex).
  int Lock(int milliseconds);

  /// Releases the mutex. If it was not locked through this object, it only warns on stderr. Called by a thread other
  /// than the holder, it only makes this object forget the holder.
  void Unlock();

  /// @return 1 when this thread locked the mutex through this object, else 0. Cost: two loads.
  int IsLockedByThisThread() const;

  /// @return 1 when OpenMutexA() created the mutex, or was refused; else 0.
  int IsCreateByMe() const;

  /// Closes the handle; a held mutex stays held until its thread ends, and the owner word is not reset.
  void CloseMutex();
  /// CloseMutex() under another name.
  void DestroyMutex();

private:
  zar::platform::named_mutex *m_handle = nullptr;
  int m_created = 0;
  mutable unsigned long m_owner = 0; // the thread that locked through this object; read and written atomically
};

/// A block of shared memory, mapped by each process at an address of its own.
///
///                  closed                             open
///     OpenMapFile  opens; close it even after null    REQUIRES: not called; the first handle would leak
///     CloseMapFile nothing                            closed; the view is gone
///     getData      null                               the view
///     IsCreateByMe as the last open left it           1 for the creator, else 0
///     destructor   nothing                            nothing: the view stays until the process ends; close first
///
/// A copy shares view and handle: close only one of the two.
class ZAR_API chMapFile {
public:
  chMapFile() = default;

  /// OpenMapFile(name, -1).
  void *OpenMapFile(const std::string &name);

  /// Opens the block of that name, or creates it, zero-filled.
  /// @param size  Bytes of a new block, rounded up to whole pages. -1, or any other negative number, only opens an
  ///              existing block; 0 is refused. An existing block is opened whatever its size.
  /// @return The whole block; null when the system refuses or has no memory.
  void *OpenMapFile(const std::string &name, int size);

  void CloseMapFile();
  /// CloseMapFile() under another name.
  void DestroyMapFile();

  /// @return The block, or null.
  void *getData() const;

  /// @return 1 when the last OpenMapFile() created the block, else 0; closing does not change it.
  int IsCreateByMe() const;

  /// Does nothing: all processes see the same memory.
  void Flush();

private:
  int m_created = 0;
  void *m_view = nullptr;
  zar::platform::named_mapping *m_handle = nullptr;
};
