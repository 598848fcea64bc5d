// A fault on Windows.
#pragma once

#include "zarlib/platform/types.h"

namespace zar::platform {

struct fault {
  EXCEPTION_POINTERS *pointers;
};

} // namespace zar::platform
