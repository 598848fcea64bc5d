#include "zarlib/platform/console.h"

#include "zarlib/platform/linux/status_file.h"

#include <cstdlib>
#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

namespace zar::platform {

bool has_console() { return fcntl(STDOUT_FILENO, F_GETFD) != -1; }

bool is_debugged() {
  const status_file self("/proc/thread-self/status");
  const char *const tracer = self.value_of("\nTracerPid:");
  return tracer && std::atol(tracer) != 0;
}

// syslog passes UTF-8 through, and ends the record itself.
void write_to_debugger(const std::string &text, bool) { syslog(LOG_DEBUG, "%s", text.c_str()); }

} // namespace zar::platform
