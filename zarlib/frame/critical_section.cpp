#include "zarlib/frame/critical_section.h"

#include "zarlib/platform/lock.h"
#include "zarlib/platform/thread.h"
#include "zarlib/trace/console.h"

#include <cstdlib>

// The interface holds the lock as bytes so that no header of the platform stands in it.
template <class Storage> static zar::platform::lock_storage &lock_in(Storage &storage) {
  static_assert(sizeof(Storage) == sizeof(zar::platform::lock_storage));
  static_assert(alignof(Storage) == alignof(zar::platform::lock_storage));
  return reinterpret_cast<zar::platform::lock_storage &>(storage);
}

chCriticalSection::chCriticalSection() { zar::platform::lock_init(lock_in(m_lock)); }

chCriticalSection::~chCriticalSection() { zar::platform::lock_destroy(lock_in(m_lock)); }

// The owner word orders nothing: only the holder writes it, and whoever compares it with its own id reads what it wrote itself.
int chCriticalSection::Lock() {
  zar::platform::lock_enter(lock_in(m_lock));
  m_owner.store(zar::platform::current_thread_id(), std::memory_order_relaxed);
  return 1;
}

void chCriticalSection::Unlock() {
  // Settled, callers rely on it: one owner word, so the second of two nested unlocks warns and leaves the lock held.
  if (m_owner.load(std::memory_order_relaxed) == 0) {
    zarOutputWarningString("Try to unlock a NOLOCKED CriticalSection.");
    return;
  }
  m_owner.store(0, std::memory_order_relaxed);
  zar::platform::lock_leave(lock_in(m_lock));
}

int chCriticalSection::IsLocked() const { return m_owner.load(std::memory_order_relaxed) != 0; }

int chCriticalSection::IsLockedByThisThread() const {
  return m_owner.load(std::memory_order_relaxed) == zar::platform::current_thread_id();
}

void chThreadLock<chCriticalSection>::Lock() {
  if (m_section.IsLockedByThisThread()) {
    ++m_depth;
    return;
  }
  m_section.Lock();
  m_depth = 1;
}

void chThreadLock<chCriticalSection>::Unlock() {
  if (!m_section.IsLockedByThisThread()) std::abort();
  if (--m_depth == 0) m_section.Unlock();
}
