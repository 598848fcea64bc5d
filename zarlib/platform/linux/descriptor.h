// A file descriptor that closes itself.
#pragma once

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace zar::platform {

class descriptor {
public:
  explicit descriptor(int number) : m_number(number) {}
  descriptor(descriptor &&other) noexcept : m_number(other.release()) {}
  descriptor &operator=(descriptor &&) = delete;
  ~descriptor() {
    if (m_number < 0) return;
    const int reason = errno;
    close(m_number);
    errno = reason;
  }

  explicit operator bool() const { return m_number >= 0; }
  int get() const { return m_number; }
  int release() { return std::exchange(m_number, -1); }

private:
  int m_number;
};

} // namespace zar::platform
