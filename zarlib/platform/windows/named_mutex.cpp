#include "zarlib/platform/named_mutex.h"

#include "zarlib/platform/types.h"

namespace zar::platform {

static_assert(wait_acquired == WAIT_OBJECT_0 && wait_abandoned == WAIT_ABANDONED);
static_assert(wait_timeout == WAIT_TIMEOUT && wait_failed == WAIT_FAILED);

// The handle itself is what callers hold.
static HANDLE native(named_mutex *mutex) { return reinterpret_cast<HANDLE>(mutex); }

named_mutex *open_mutex(const std::string &name, bool &created) {
  const HANDLE mutex = CreateMutexA(nullptr, FALSE, name.c_str());
  created = GetLastError() != ERROR_ALREADY_EXISTS;
  return static_cast<named_mutex *>(mutex);
}

void close_mutex(named_mutex *mutex) { CloseHandle(native(mutex)); }

unsigned wait_mutex(named_mutex *mutex, int milliseconds) {
  return WaitForSingleObject(native(mutex), static_cast<DWORD>(milliseconds));
}

bool release_mutex(named_mutex *mutex) { return ReleaseMutex(native(mutex)) != FALSE; }

} // namespace zar::platform
