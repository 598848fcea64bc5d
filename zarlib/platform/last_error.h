// The calling thread's last error: the word that the system's calls leave behind.
#pragma once

#include <string>

namespace zar::platform {

unsigned last_error();
void set_last_error(unsigned code);

/// The system's text for a code, in the user's language, as the system ends it; empty where it has none. May change the
/// last error.
std::string error_text(unsigned code);

/// Keeps the last error over the calls in between.
class last_error_keeper {
public:
  last_error_keeper() : m_code(last_error()) {}
  last_error_keeper(const last_error_keeper &) = delete;
  last_error_keeper &operator=(const last_error_keeper &) = delete;
  ~last_error_keeper() { set_last_error(m_code); }

private:
  const unsigned m_code;
};

} // namespace zar::platform
