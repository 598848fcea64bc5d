// What a fault is on Windows, and the lock of the symbol library.
#pragma once

#include "zarlib/platform/types.h"

namespace zar::platform {

struct fault {
  EXCEPTION_POINTERS *pointers;
};

} // namespace zar::platform
