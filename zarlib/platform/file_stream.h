// Files opened for writing, and whole files at once. Paths are UTF-8; on Linux their bytes pass as they are.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace zar::platform {

enum class opening {
  anew,  ///< created, or emptied
  at_end ///< created if missing; positioned at the end, where every write lands, also beside other writers
};

/// A binary stream that children do not inherit, or null. Its own buffer stays unused: bytes go through write_all().
std::FILE *open_for_writing(const std::string &path, opening how);

/// One call of the system, past the stream's buffer.
/// @return How many bytes arrived; below 0 for none, with the reason in the last error.
long long write_once(std::FILE *stream, const void *data, size_t size);

/// Goes on behind a write_once() of which so many bytes arrived, as write_all() promises.
bool write_rest(std::FILE *stream, const void *data, size_t size, long long arrived);

/// Hands all bytes to the system past the stream's buffer, in one call wherever the system takes them so. When it
/// refuses halfway, what had arrived is taken back, provided that the file is a regular one and nothing stands behind
/// it.
///
/// Inline, because a return from a function that was entered before a system call is slow, and every log line comes here.
[[gnu::always_inline]] inline bool write_all(std::FILE *stream, const void *data, size_t size) {
  const long long arrived = write_once(stream, data, size);
  return arrived == static_cast<long long>(size) || write_rest(stream, data, size, arrived);
}

/// The position of write_all() in bytes; -1 where there is none.
long long stream_position(std::FILE *stream);

/// Appends the content of a file; on false a part of it may have been appended.
bool read_whole_file(const std::string &path, std::string &content);

/// Creates or empties the file, writes, forces the bytes to the disk and closes. A failure removes nothing.
bool write_whole_file(const std::string &path, const void *data, size_t size);

} // namespace zar::platform
