// The hook for faults: a function that runs on the faulting thread before the process dies of the fault.
#pragma once

#include <type_traits>

namespace zar::platform {

/// A fault as the system hands it over; only the platform's own sources look inside.
struct fault;

/// What is run on a fault. It runs in a dying process: on Linux it must not allocate, and must not wait for a lock that the
/// faulting thread may hold, outside run_guarded().
using fault_report = void (*)(const fault &);

/// From now on `report` runs on the first thread that faults, with the fault, and then the process dies of that very fault.
///
/// Windows: the unhandled-exception filter of the process. Linux: the signals of hardware faults, of trap instructions and of
/// forbidden system calls, and an uncaught C++ exception, whose fault is where it was thrown; a plain abort() is none, but
/// waits there while a report is written.
/// A second thread that faults meanwhile waits for the death, for a minute at most. One that faults after the report, where the
/// process has outlived it, is reported on Windows and waits on Linux. A fault in the report itself ends the process. What was
/// installed before is replaced. Arms the calling thread too.
void hook_faults(fault_report report);

/// Gives the calling thread what it takes to report the overflow of its own stack, until the thread ends: an alternate stack
/// on Linux, where it has none yet, and a reserve at the stack's end on Windows. A thread that was never armed dies of an
/// overflow without a report. After the first call on a thread it costs one load.
void arm_thread();

/// Runs one step of a report. On Linux, on the thread that reports, a fault inside or `milliseconds` without an end break the
/// step off, so that the next one has its turn; objects of the step are not destroyed then. Everywhere else it is a plain call.
/// @return Whether the step came to its end.
bool run_guarded(int milliseconds, void (*step)(void *), void *argument);

/// The same for a function object.
template <class Step>
bool run_guarded(int milliseconds, Step &&step) {
  using function = std::remove_reference_t<Step>;
  return run_guarded(
      milliseconds, [](void *object) { (*static_cast<function *>(object))(); }, &step);
}

} // namespace zar::platform
