// A fault on Linux.
#pragma once

#include <csignal>
#include <sys/types.h>
#include <ucontext.h>

namespace zar::platform {

struct fault {
  const siginfo_t *info;
  ucontext_t *context; ///< the registers as the system pushed them for the reporting handler
  pid_t thread;
};

} // namespace zar::platform
