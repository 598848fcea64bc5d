// The other threads of a dying process, held still while their registers and stacks are read.
#pragma once

#include <atomic>
#include <csignal>
#include <cstddef>
#include <sys/types.h>
#include <ucontext.h>

namespace zar::platform {

/// The signal that holds a thread. Its handler is installed only when the process is dying, so that programs remain
/// free to use it.
inline int stop_signal() { return SIGRTMAX; }

struct stopped_thread {
  pid_t id;
  std::atomic<const ucontext_t *> context; ///< null for a thread that does not respond
  unsigned long long pc;                   ///< of a thread that does not respond but is in a system call, otherwise 0
  unsigned long long sp;
  bool is_signalled;
};

/// Threads in no particular order.
struct stopped_threads {
  const stopped_thread *threads;
  size_t count;

  const stopped_thread *begin() const { return threads; }
  const stopped_thread *end() const { return threads + count; }
};

/// Stops all threads but the calling one and waits, for a bounded time, until each has responded. A thread that blocks
/// the signal or waits for it keeps running. At most 4096 threads are stopped.
stopped_threads stop_other_threads();

/// Releases them, except those that would return from a system call with EINTR: they wait for the process to die, for a
/// minute at most.
void release_other_threads();

/// Releases those as well, if the process does not die at once.
void release_all_threads();

} // namespace zar::platform
