#include "zarlib/platform/report_file.h"

#include "zarlib/platform/types.h"

namespace zar::platform {

// Settled, callers rely on it: the path is passed unconverted, so the system takes it to be in its narrow encoding.
report_file::report_file(const char *path)
    : m_handle(CreateFileA(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                           FILE_ATTRIBUTE_NORMAL, nullptr)) {}

report_file::~report_file() {
  if (is_open()) CloseHandle(m_handle);
}

bool report_file::is_open() const { return m_handle != INVALID_HANDLE_VALUE; }

void report_file::write(const char *text, size_t length) {
  DWORD written = 0;
  WriteFile(m_handle, text, static_cast<DWORD>(length), &written, nullptr);
}

} // namespace zar::platform
