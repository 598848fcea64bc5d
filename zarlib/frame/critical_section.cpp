#include "zarlib/frame/critical_section.h"

#include "zarlib/platform/lock.h"
#include "zarlib/platform/thread.h"
#include "zarlib/trace/console.h"

#include <cstdlib>

// The class holds the lock as raw bytes so that its header needs none of the platform's.
template <class Storage>
static zar::platform::lock_storage &lock_in(Storage &storage) {
  static_assert(sizeof(Storage) == sizeof(zar::platform::lock_storage));
  static_assert(alignof(Storage) == alignof(zar::platform::lock_storage));
  return reinterpret_cast<zar::platform::lock_storage &>(storage);
}

[[gnu::noinline, gnu::cold]] static void warn_of_unheld_section() {
  zarOutputWarningString("Try to unlock a NOLOCKED CriticalSection.");
}

chCriticalSection::chCriticalSection() { zar::platform::lock_init(lock_in(m_lock)); }

chCriticalSection::~chCriticalSection() { zar::platform::lock_destroy(lock_in(m_lock)); }

// Relaxed suffices for the owner word: only the holder writes it, so a thread that finds its own id wrote it.
int chCriticalSection::Lock() {
  m_owner.store(zar::platform::lock_enter(lock_in(m_lock)), std::memory_order_relaxed);
  return 1;
}

void chCriticalSection::Unlock() {
  // Settled, callers rely on it: one owner word, so the second of two nested unlocks warns and leaves the lock held.
  if (m_owner.load(std::memory_order_relaxed) == 0) return warn_of_unheld_section();
  m_owner.store(0, std::memory_order_relaxed);
  zar::platform::lock_leave(lock_in(m_lock));
}

int chCriticalSection::IsLocked() const { return m_owner.load(std::memory_order_relaxed) != 0; }

int chCriticalSection::IsLockedByThisThread() const {
  return zar::platform::is_current_thread(m_owner.load(std::memory_order_relaxed));
}

// Flattened: the whole uncontended path is one function, as in the standard library's mutexes.
[[gnu::flatten]] void chThreadLock<chCriticalSection>::Lock() {
  if (m_section.IsLockedByThisThread()) {
    ++m_depth;
    return;
  }
  m_section.Lock();
  m_depth = 1;
}

[[gnu::flatten]] void chThreadLock<chCriticalSection>::Unlock() {
  if (!m_section.IsLockedByThisThread()) std::abort();
  if (--m_depth == 0) m_section.Unlock();
}
