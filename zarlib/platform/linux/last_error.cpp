#include "zarlib/platform/last_error.h"

#include <cerrno>
#include <cstring>

namespace zar::platform {

unsigned last_error() { return static_cast<unsigned>(errno); }

void set_last_error(unsigned code) { errno = static_cast<int>(code); }

std::string error_text(unsigned code) {
  const int number = static_cast<int>(code);
  // strerror makes up a text for an unknown number.
  if (!strerrordesc_np(number)) return {};
  char buffer[256];
  return strerror_r(number, buffer, sizeof buffer);
}

} // namespace zar::platform
