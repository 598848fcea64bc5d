// A futex lock of its own: a lock around the C library's recursive mutex could not be as fast as that one, and every singleton
// and every table goes through this one. Word 0 free, 1 held, 2 held and perhaps waited for.
#include "zarlib/platform/lock.h"

#include "zarlib/platform/thread.h"

#include <atomic>
#include <linux/futex.h>
#include <new>
#include <sys/single_threaded.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zar::platform {

namespace {

struct futex_lock {
  std::atomic<int> word{0};
  int repeats = 0; // entries of the holder beyond the first; only the holder touches it
  std::atomic<unsigned long> owner{0};
};

static_assert(sizeof(futex_lock) <= sizeof(lock_storage));
static_assert(alignof(futex_lock) <= alignof(lock_storage));

futex_lock &native(lock_storage &lock) { return *std::launder(reinterpret_cast<futex_lock *>(lock.bytes)); }

[[gnu::noinline]] void futex(std::atomic<int> &word, int operation, int value) {
  syscall(SYS_futex, reinterpret_cast<int *>(&word), operation | FUTEX_PRIVATE_FLAG, value, nullptr, nullptr, 0);
}

[[gnu::noinline]] void wait_for(std::atomic<int> &word) {
  // A short wait is cheaper than a sleep; a holder needs the processor only for a few instructions.
  for (int i = 0; i < 40; ++i) {
    int free = 0;
    if (word.load(std::memory_order_relaxed) == 0 && word.compare_exchange_strong(free, 1, std::memory_order_acquire))
      return;
    __builtin_ia32_pause();
  }
  while (word.exchange(2, std::memory_order_acquire) != 0) futex(word, FUTEX_WAIT, 2);
}

/// 0 to 1. A process of one thread needs no bus lock for it.
bool take_free(std::atomic<int> &word) {
  int free = 0;
  if (!__libc_single_threaded) return word.compare_exchange_strong(free, 1, std::memory_order_acquire);
  if (word.load(std::memory_order_relaxed) != 0) return false;
  word.store(1, std::memory_order_relaxed);
  return true;
}

} // namespace

void lock_init(lock_storage &lock) { new (lock.bytes) futex_lock; }

void lock_destroy(lock_storage &lock) { native(lock).~futex_lock(); }

unsigned long lock_enter(lock_storage &lock) {
  futex_lock &self = native(lock);
  const unsigned long owner = self.owner.load(std::memory_order_relaxed);
  if (is_current_thread(owner)) {
    ++self.repeats;
    return owner;
  }
  if (!take_free(self.word)) wait_for(self.word);
  const unsigned long thread = current_thread_id();
  self.owner.store(thread, std::memory_order_relaxed);
  return thread;
}

void lock_leave(lock_storage &lock) {
  futex_lock &self = native(lock);
  if (self.repeats > 0) {
    --self.repeats;
    return;
  }
  self.owner.store(0, std::memory_order_relaxed);
  if (__libc_single_threaded)
    self.word.store(0, std::memory_order_relaxed);
  else if (self.word.exchange(0, std::memory_order_release) == 2)
    futex(self.word, FUTEX_WAKE, 1);
}

} // namespace zar::platform
