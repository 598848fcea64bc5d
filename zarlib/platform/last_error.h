// The calling thread's last error: the word that system calls leave behind.
#pragma once

#include <string>

namespace zar::platform {

unsigned last_error();
void set_last_error(unsigned code);

/// The system's text for a code, in the user's language, line end included as the system has it; empty where there is
/// none. May change the last error.
std::string error_text(unsigned code);

/// Preserves the last error across the calls made during its life.
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
