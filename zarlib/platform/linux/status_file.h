// The state of a process or a thread as reported by /proc.
#pragma once

#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace zar::platform {

/// The first lines of a /proc status file. Allocates nothing.
class status_file {
public:
  explicit status_file(const char *path) {
    m_text[0] = 0;
    const int file = open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) return;
    const ssize_t count = read(file, m_text, sizeof m_text - 1); // one read returns as much of such a file as fits
    close(file);
    m_text[count > 0 ? count : 0] = 0;
  }

  /// @param line  "\nName:", the way every line but the first begins.
  /// @return What follows it; null if there is no such line or no file.
  const char *value_of(const char *line) const {
    const char *const found = std::strstr(m_text, line);
    return found ? found + std::strlen(line) : nullptr;
  }

private:
  // The list of groups, early in the file, has a number for each group of the user.
  char m_text[16384];
};

} // namespace zar::platform
