#include "zarlib/platform/thread.h"

#include "zarlib/platform/types.h"

namespace zar::platform {

namespace {

bool is_vista_or_later() {
  OSVERSIONINFOEXW version = {};
  version.dwOSVersionInfoSize = sizeof version;
  version.dwMajorVersion = 6;
  const DWORDLONG condition = VerSetConditionMask(VerSetConditionMask(0, VER_MAJORVERSION, VER_GREATER_EQUAL),
                                                  VER_MINORVERSION, VER_GREATER_EQUAL);
  return VerifyVersionInfoW(&version, VER_MAJORVERSION | VER_MINORVERSION, condition) != FALSE;
}

} // namespace

unsigned long current_process_id() { return GetCurrentProcessId(); }

unsigned long current_thread_id() { return GetCurrentThreadId(); }

bool is_current_thread(unsigned long id) { return id == GetCurrentThreadId(); }

// Settled, callers rely on it: an exit code equal to STILL_ACTIVE, 259, reads as alive, for processes and for threads.
bool process_is_alive(unsigned long id) {
  static const DWORD right = is_vista_or_later() ? PROCESS_QUERY_LIMITED_INFORMATION : PROCESS_QUERY_INFORMATION;
  const HANDLE process = OpenProcess(right, FALSE, id);
  if (!process) return false;
  DWORD code = 0;
  const bool alive = GetExitCodeProcess(process, &code) && code == STILL_ACTIVE;
  CloseHandle(process);
  return alive;
}

bool thread_is_alive(unsigned long id) {
  const HANDLE thread = OpenThread(THREAD_QUERY_INFORMATION, FALSE, id);
  if (!thread) return false;
  DWORD code = 0;
  const bool alive = GetExitCodeThread(thread, &code) && code == STILL_ACTIVE;
  CloseHandle(thread);
  return alive;
}

void sleep_milliseconds(int milliseconds) { Sleep(static_cast<DWORD>(milliseconds)); }

bool yield_thread() { return SwitchToThread() != FALSE; }

} // namespace zar::platform
