// The system's symbol library, which only one thread at a time may call.
#pragma once

#include "zarlib/platform/types.h"

#include <dbghelp.h>

namespace zar::platform {

/// Holds the symbol library. A faulting thread may find it held forever by one that waits for the fault to end, so
/// nobody waits longer than two seconds; the call then proceeds without it.
class debug_help_hold {
public:
  debug_help_hold();
  debug_help_hold(const debug_help_hold &) = delete;
  debug_help_hold &operator=(const debug_help_hold &) = delete;
  ~debug_help_hold();

private:
  bool m_held = false;
};

/// The machine type for the stack walk, 0 if unknown; set by open_symbols().
extern DWORD g_machine;

} // namespace zar::platform
