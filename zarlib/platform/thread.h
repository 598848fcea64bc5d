// Processes and threads: identity, liveness, sleeping and yielding.
#pragma once

namespace zar::platform {

/// No system call after the first in a process; correct in a forked child too.
unsigned long current_process_id();

/// The system's id of the calling thread, without a system call after the first on each thread; correct
/// in a forked child too.
unsigned long current_thread_id();

/// Whether `id`, stored by a thread for itself, is the calling thread's. Never a system call: a thread whose id was
/// never queried cannot have stored it.
bool is_current_thread(unsigned long id);

/// Whether the id belongs to a process with a thread that has not ended; one that only waits to be reaped has ended.
bool process_is_alive(unsigned long id);

/// The same for a thread of any process.
bool thread_is_alive(unsigned long id);

/// Sleeps for at least that long. 0 yields the rest of the time slice, -1 sleeps for ever, any other number
/// is taken as unsigned.
void sleep_milliseconds(int milliseconds);

/// Yields to another thread, if one is ready for this processor. @return Whether one was, as far as the system tells.
bool yield_thread();

} // namespace zar::platform
