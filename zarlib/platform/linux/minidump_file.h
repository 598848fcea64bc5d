// A minidump file under construction: consecutive blocks, and a directory of streams that points to them.
#pragma once

#include "zarlib/platform/linux/minidump_format.h"

#include <string_view>

namespace zar::platform {

/// Works in a dying process: plain system calls, no heap. What cannot be written stays zero in the file.
class minidump_file {
public:
  /// Creates the file, accessible to its owner only, in place of any file of that name.
  explicit minidump_file(const char *path);
  minidump_file(const minidump_file &) = delete;
  minidump_file &operator=(const minidump_file &) = delete;
  ~minidump_file();

  bool is_open() const { return m_file >= 0; }

  /// The room left below the size limit of a dump.
  std::uint64_t room() const;

  /// Appends a block and returns its location. Any address may be given; unreadable memory becomes zeros.
  minidump::location append(const void *bytes, size_t length);
  template <class Value>
  minidump::location append(const Value &value) {
    return append(&value, sizeof value);
  }

  /// Appends a text in the format's own form: its length in bytes, then NUL-terminated UTF-16. @return Its rva.
  std::uint32_t append_text(std::string_view utf8);

  /// Appends the content of a /proc file, read to its end.
  minidump::location append_file(const char *path);

  /// Extends the block appended last. @return Its location with the new size.
  minidump::location extend(minidump::location last, const void *bytes, size_t length);

  /// Appends a count and an array, the layout of list streams.
  template <class Value>
  minidump::location append_list(const Value *values, size_t count) {
    return extend(append(static_cast<std::uint32_t>(count)), values, count * sizeof(Value));
  }

  void add_stream(minidump::stream_type type, minidump::location place);

  /// Writes header and directory; empties the file if any write has failed.
  /// @return Whether every write succeeded; unreadable memory is not a failure.
  bool finish();

private:
  static constexpr size_t streams_max = 16;

  void write_at(std::uint64_t place, const void *bytes, size_t length);

  int m_file;
  std::uint64_t m_end;
  minidump::directory_entry m_streams[streams_max] = {};
  std::uint32_t m_stream_count = 0;
  bool m_failed = false;
};

} // namespace zar::platform
