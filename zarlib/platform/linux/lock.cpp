// Our own futex lock: a wrapper around the C library's recursive mutex could not be as fast as that mutex, and every
// singleton and every table goes through this lock.
#include "zarlib/platform/lock.h"

#include "zarlib/platform/linux/futex_lock.h"
#include "zarlib/platform/thread.h"

#include <atomic>
#include <new>

namespace zar::platform {

namespace {

struct recursive_lock {
  futex_lock word;
  int repeats = 0; // entries by the holder beyond the first; accessed by the holder only
  std::atomic<unsigned long> owner{0};
};

static_assert(sizeof(recursive_lock) <= sizeof(lock_storage));
static_assert(alignof(recursive_lock) <= alignof(lock_storage));

recursive_lock &native(lock_storage &lock) { return *std::launder(reinterpret_cast<recursive_lock *>(lock.bytes)); }

} // namespace

void lock_init(lock_storage &lock) { new (lock.bytes) recursive_lock; }

void lock_destroy(lock_storage &lock) { native(lock).~recursive_lock(); }

unsigned long lock_enter(lock_storage &lock) {
  recursive_lock &self = native(lock);
  const unsigned long owner = self.owner.load(std::memory_order_relaxed);
  if (is_current_thread(owner)) {
    ++self.repeats;
    return owner;
  }
  self.word.lock();
  const unsigned long thread = current_thread_id();
  self.owner.store(thread, std::memory_order_relaxed);
  return thread;
}

void lock_leave(lock_storage &lock) {
  recursive_lock &self = native(lock);
  if (self.repeats > 0) {
    --self.repeats;
    return;
  }
  self.owner.store(0, std::memory_order_relaxed);
  self.word.unlock();
}

} // namespace zar::platform
