// chCriticalSection and chThreadLock: locks within one process.
#pragma once

#include "zarlib/export.h"

#include <atomic>

/// A lock that remembers which thread holds it.
///
/// Not recursive: there is only one owner word, so Lock, Lock, Unlock, Unlock on one thread warns at the second Unlock
/// and leaves the section held. For nesting use chThreadLock; a caller that may already hold the section asks
/// IsLockedByThisThread() first. Any thread may call any operation.
class ZAR_API chCriticalSection {
public:
  chCriticalSection();
  chCriticalSection(const chCriticalSection &) = delete;
  chCriticalSection &operator=(const chCriticalSection &) = delete;
  /// REQUIRES: nobody holds it; not checked.
  ~chCriticalSection();

  /// Waits without limit. @return 1, always.
  int Lock();

  /// Releases the section. If nobody holds it, it only warns on stderr.
  /// REQUIRES: a held section is held by this thread.
  void Unlock();

  /// @return 1 when any thread holds it, else 0.
  int IsLocked() const;

  /// @return 1 when this thread holds it, else 0. Cost: two loads.
  int IsLockedByThisThread() const;

private:
  // Room for the system's lock: 24 bytes on a 32-bit target, 40 on a 64-bit one.
  struct alignas(8) storage {
    unsigned char bytes[sizeof(void *) == 4 ? 24 : 40];
  };
  storage m_lock;
  std::atomic<unsigned long> m_owner{0};
};

template <class Section>
class chThreadLock;

/// A recursive chCriticalSection: it is free again after as many Unlock as Lock calls.
template <>
class ZAR_API chThreadLock<chCriticalSection> {
public:
  chThreadLock() = default;
  chThreadLock(const chThreadLock &) = delete;
  chThreadLock &operator=(const chThreadLock &) = delete;

  /// Waits without limit.
  void Lock();

  /// Undoes one Lock. Called by a thread that does not hold the lock, it aborts the process without a message.
  void Unlock();

private:
  chCriticalSection m_section;
  int m_depth = 0; // only the holder touches it
};
