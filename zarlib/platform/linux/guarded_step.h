// The steps of a report: each may fault or hang without taking the report down with it.
#pragma once

#include <sys/types.h>

namespace zar::platform {

/// Makes run_guarded() effective on the calling thread. Dying process.
void begin_guarding(pid_t self);

/// Ends that, and returns SIGALRM, which marks the deadline, to the program. Dying process.
void end_guarding();

/// Whether the calling thread is between those two. Dying process.
bool is_guarded();

/// Aborts the running step without returning, if the calling thread is guarded and in a step. Dying process.
void break_off_step();

} // namespace zar::platform
