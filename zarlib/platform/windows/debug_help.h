// The symbol library of the system, which one thread at a time may call.
#pragma once

#include "zarlib/platform/types.h"

#include <dbghelp.h>

namespace zar::platform {

/// Holds the symbol library. A faulting thread may find it held for ever by one that waits for the fault's end, so nobody
/// waits longer than two seconds; then the call goes on without.
class debug_help_hold {
public:
  debug_help_hold();
  debug_help_hold(const debug_help_hold &) = delete;
  debug_help_hold &operator=(const debug_help_hold &) = delete;
  ~debug_help_hold();

private:
  bool m_held = false;
};

/// The machine type of the stack walk, 0 where it is not known; chosen by open_symbols().
extern DWORD g_machine;

} // namespace zar::platform
