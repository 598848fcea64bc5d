#include "zarlib/platform/fault.h"

#include "zarlib/platform/windows/fault_context.h"

#include <atomic>

namespace zar::platform {

namespace {

// Stack that the report needs after an overflow.
constexpr ULONG reserve_bytes = 128 * 1024;

// How long a thread that faults during another's report waits for the process to die.
constexpr DWORD wait_milliseconds = 60000;

std::atomic<fault_report> s_report{nullptr};
std::atomic<DWORD> s_reporter{0};
thread_local bool t_armed = false;

/// The first fault of the process is reported; one inside the report only ends it.
LONG WINAPI filter(EXCEPTION_POINTERS *pointers) {
  const DWORD self = GetCurrentThreadId();
  DWORD reporter = 0;
  if (s_reporter.compare_exchange_strong(reporter, self)) {
    s_report.load()(fault{pointers});
    s_reporter = 0;
  } else if (reporter != self) {
    Sleep(wait_milliseconds);
  }
  return EXCEPTION_CONTINUE_SEARCH;
}

} // namespace

void hook_faults(fault_report report) {
  s_report = report;
  SetUnhandledExceptionFilter(filter);
  arm_thread();
}

void arm_thread() {
  if (t_armed) return;
  t_armed = true;
  ULONG bytes = reserve_bytes;
  SetThreadStackGuarantee(&bytes);
}

// The system itself guards the filter: a fault in it ends the process.
bool run_guarded(int, void (*step)(void *), void *argument) {
  step(argument);
  return true;
}

} // namespace zar::platform
