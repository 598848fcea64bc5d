// The other threads of a dying process, held still while their registers and stacks are read.
#pragma once

#include <csignal>
#include <cstddef>
#include <sys/types.h>
#include <ucontext.h>

namespace zar::platform {

/// The signal that holds a thread. It gets its handler only when the process is dying, so that nobody is kept from using it.
inline int stop_signal() { return SIGRTMAX; }

/// A thread and its registers; of one that did not answer only the instruction and the stack pointer, or nothing at all.
struct stopped_thread {
  pid_t id;
  bool has_registers;
  ucontext_t registers;
};

} // namespace zar::platform
