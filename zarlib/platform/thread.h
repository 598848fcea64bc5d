// Processes and threads: who runs, who still lives, and giving the processor away.
#pragma once

namespace zar::platform {

/// No system call after the first in a process; right in a forked child too.
unsigned long current_process_id();

/// The system's id of the calling thread, without a system call after the first on each thread; right in a forked child too.
unsigned long current_thread_id();

/// Whether `id`, which a thread stored for itself, is the calling thread's. Never a system call: a thread whose id was not yet
/// asked for cannot have stored one.
bool is_current_thread(unsigned long id);

/// Whether the id belongs to a process of which any thread has not ended; one that only waits to be reaped has ended.
bool process_is_alive(unsigned long id);

/// The same for a thread of any process.
bool thread_is_alive(unsigned long id);

/// Sleeps at least so long. 0 gives the rest of the time slice away, -1 sleeps without end, any other number counts as unsigned.
void sleep_milliseconds(int milliseconds);

/// Lets another thread run, if one is ready for this processor. @return Whether one was, as far as the system tells.
bool yield_thread();

} // namespace zar::platform
