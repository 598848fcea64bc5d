#include "zarlib/platform/console.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

namespace zar::platform {

bool has_console() { return fcntl(STDOUT_FILENO, F_GETFD) != -1; }

bool is_debugged() {
  const int file = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
  if (file < 0) return false;
  char text[2048];
  const ssize_t count = read(file, text, sizeof text - 1);
  close(file);
  if (count <= 0) return false;
  text[count] = 0;
  const char *const line = std::strstr(text, "\nTracerPid:");
  return line && std::atol(line + sizeof "\nTracerPid:" - 1) != 0;
}

// syslog takes UTF-8 as it is, and ends the record itself.
void write_to_debugger(const std::string &text, bool) { syslog(LOG_DEBUG, "%s", text.c_str()); }

} // namespace zar::platform
