// The steps of a report: each may fault or hang without taking the report with it.
#pragma once

#include <sys/types.h>

namespace zar::platform {

/// Makes the calling thread the one whose run_guarded() is guarded. Dying process.
void begin_guarding(pid_t self);

/// Ends that, and gives SIGALRM, which tells of the time, back to the program. Dying process.
void end_guarding();

/// Ends the step that runs and does not return, where the calling thread is guarded and in a step. Dying process.
void break_off_step();

} // namespace zar::platform
