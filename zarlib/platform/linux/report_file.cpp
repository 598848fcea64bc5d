#include "zarlib/platform/report_file.h"

#include "zarlib/platform/fault.h"

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace zar::platform {

static int descriptor_of(void *handle) { return static_cast<int>(reinterpret_cast<std::intptr_t>(handle)); }

// A FIFO of that name without a reader must not block the report.
report_file::report_file(const char *path)
    : m_handle(reinterpret_cast<void *>(static_cast<std::intptr_t>(
          open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666)))) {
  if (!is_open()) return;
  // Reports of processes that die together stand one behind the other; nobody waits long for that.
  run_guarded(5000, [this] { flock(descriptor_of(m_handle), LOCK_EX); });
}

report_file::~report_file() {
  if (is_open()) close(descriptor_of(m_handle));
}

bool report_file::is_open() const { return descriptor_of(m_handle) >= 0; }

void report_file::write(const char *text, size_t length) {
  while (length > 0) {
    const ssize_t count = ::write(descriptor_of(m_handle), text, length);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    text += count;
    length -= static_cast<size_t>(count);
  }
}

} // namespace zar::platform
