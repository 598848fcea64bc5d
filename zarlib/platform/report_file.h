// The text file of a crash report: appended to by plain system calls, without a buffer and without the heap.
#pragma once

#include <cstddef>

namespace zar::platform {

/// Opened by its constructor, closed by its destructor. What cannot be written is lost.
class report_file {
public:
  /// Opens the file for appending, makes it where there is none. The bytes of `path` go to the system as they are.
  explicit report_file(const char *path);
  report_file(const report_file &) = delete;
  report_file &operator=(const report_file &) = delete;
  ~report_file();

  bool is_open() const;

  /// Appends the bytes in one call; when it returns they are the system's, and safe from what happens to this process.
  void write(const char *text, size_t length);

private:
  void *m_handle;
};

} // namespace zar::platform
