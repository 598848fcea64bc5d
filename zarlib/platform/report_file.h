// The text file of a crash report: appended to with plain system calls, without buffer or heap.
#pragma once

#include <cstddef>

namespace zar::platform {

/// Opened by its constructor, closed by its destructor. What cannot be written is lost.
class report_file {
public:
  /// Opens the file for appending, creating it if missing. The bytes of `path` are passed to the system verbatim.
  explicit report_file(const char *path);
  report_file(const report_file &) = delete;
  report_file &operator=(const report_file &) = delete;
  ~report_file();

  bool is_open() const;

  /// Appends the bytes in one call; once it returns they are with the system and survive the death of this process.
  void write(const char *text, size_t length);

private:
  void *m_handle;
};

} // namespace zar::platform
