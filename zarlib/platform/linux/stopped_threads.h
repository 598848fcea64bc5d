// The other threads of a dying process, held still while their registers and stacks are read.
#pragma once

#include <atomic>
#include <csignal>
#include <cstddef>
#include <sys/types.h>
#include <ucontext.h>

namespace zar::platform {

/// The signal that holds a thread. It gets its handler only when the process is dying, so that nobody is kept from using it.
inline int stop_signal() { return SIGRTMAX; }

struct stopped_thread {
  pid_t id;
  std::atomic<const ucontext_t *> context; ///< null for a thread that does not answer
  unsigned long long pc;                   ///< of a thread that does not answer but waits in a system call, else 0
  unsigned long long sp;
};

/// Threads in no order.
struct stopped_threads {
  const stopped_thread *threads;
  size_t count;

  const stopped_thread *begin() const { return threads; }
  const stopped_thread *end() const { return threads + count; }
};

/// Stops all threads but the calling one and waits, for a bounded time, until each has answered. A thread that blocks the
/// signal, as those do which wait for signals, goes on. At most 4096 threads are stopped.
stopped_threads stop_other_threads();

/// Lets them go on, but for those that would go on with a system call that failed: they wait for the death, for a minute at most.
void release_other_threads();

/// Lets those go on as well: the process does not die at once.
void release_all_threads();

} // namespace zar::platform
