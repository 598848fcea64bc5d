#include "zarlib/platform/named_event.h"

#include "zarlib/platform/types.h"

namespace zar::platform {

// The handle itself is what callers hold.
static HANDLE native(named_event *event) { return reinterpret_cast<HANDLE>(event); }

named_event *open_event(const std::string &name, bool &created) {
  const HANDLE event = CreateEventA(nullptr, FALSE, FALSE, name.c_str());
  created = GetLastError() != ERROR_ALREADY_EXISTS;
  return static_cast<named_event *>(event);
}

void close_event(named_event *event) { CloseHandle(native(event)); }

bool set_event(named_event *event) { return SetEvent(native(event)) != FALSE; }

void reset_event(named_event *event) { ResetEvent(native(event)); }

bool wait_event(named_event *event, int milliseconds) {
  return WaitForSingleObject(native(event), static_cast<DWORD>(milliseconds)) == WAIT_OBJECT_0;
}

} // namespace zar::platform
