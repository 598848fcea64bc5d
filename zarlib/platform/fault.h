// The fault hook: a function that runs on the faulting thread before the process dies of the fault.
#pragma once

#include <type_traits>

namespace zar::platform {

/// A fault as delivered by the system; opaque outside the platform's own sources.
struct fault;

/// Called on a fault, in a dying process: on Linux, outside run_guarded(), it must not allocate, and must not wait for
/// a lock that the faulting thread may hold.
using fault_report = void (*)(const fault &);

/// Installs `report`: it runs on the first thread that faults, and then the process dies of that very fault.
///
/// Windows: the unhandled-exception filter of the process. Linux: the signals of hardware faults, trap instructions and
/// forbidden system calls, and uncaught C++ exceptions, located where they were thrown; a plain abort() is not a fault,
/// but waits in its handler while a report is written.
/// A second thread that faults meanwhile waits for the process to die, for a minute at most. One that faults after the
/// report, should the process survive it, is reported on Windows and waits on Linux. A fault in the report itself ends
/// the process. Replaces whatever was installed before. Also arms the calling thread.
void hook_faults(fault_report report);

/// Provides what the calling thread needs to report the overflow of its own stack, until it ends: an alternate signal
/// stack on Linux, unless it has one as large; a reserve at the stack's end on Windows. A thread never armed dies of an
/// overflow without a report. After the first call on a thread it costs one load.
void arm_thread();

/// Runs one step of a report. On Linux, on the reporting thread, the step is abandoned on a fault inside it
/// or after `milliseconds`, so that the next one gets its turn; its objects are then not destroyed.
/// Otherwise it is a plain call.
/// @return Whether the step ran to its end.
bool run_guarded(int milliseconds, void (*step)(void *), void *argument);

/// The same for a function object.
template <class Step>
bool run_guarded(int milliseconds, Step &&step) {
  using function = std::remove_reference_t<Step>;
  return run_guarded(
      milliseconds, [](void *object) { (*static_cast<function *>(object))(); }, &step);
}

} // namespace zar::platform
