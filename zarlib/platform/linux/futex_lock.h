// A non-recursive one-word lock for the threads of this process. All zero means free.
#pragma once

#include <atomic>
#include <cerrno>
#include <linux/futex.h>
#include <sys/single_threaded.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zar::platform {

class futex_lock {
public:
  bool try_lock() {
    int free = 0;
    if (!__libc_single_threaded) return m_word.compare_exchange_strong(free, held, std::memory_order_acquire);
    // A single-threaded process needs no atomic read-modify-write.
    if (m_word.load(std::memory_order_relaxed) != 0) return false;
    m_word.store(held, std::memory_order_relaxed);
    return true;
  }

  void lock() {
    if (!try_lock()) wait();
  }

  void unlock() {
    if (__libc_single_threaded)
      m_word.store(0, std::memory_order_relaxed);
    else if (m_word.exchange(0, std::memory_order_release) == waited_for)
      futex(FUTEX_WAKE, 1);
  }

private:
  static constexpr int held = 1;
  static constexpr int waited_for = 2; // held, and somebody may be sleeping

  [[gnu::noinline]] void wait() {
    // Spinning briefly is cheaper than sleeping; a holder needs the processor only for a few instructions.
    for (int i = 0; i < 40; ++i) {
      int free = 0;
      if (m_word.load(std::memory_order_relaxed) == 0 &&
          m_word.compare_exchange_strong(free, held, std::memory_order_acquire))
        return;
      __builtin_ia32_pause();
    }
    while (m_word.exchange(waited_for, std::memory_order_acquire) != 0) futex(FUTEX_WAIT, waited_for);
  }

  [[gnu::noinline]] void futex(int operation, int value) {
    const int kept = errno; // callers may take a lock between a failure and reading its cause
    syscall(SYS_futex, reinterpret_cast<int *>(&m_word), operation | FUTEX_PRIVATE_FLAG, value, nullptr, nullptr, 0);
    errno = kept;
  }

  std::atomic<int> m_word{0};
};

} // namespace zar::platform
