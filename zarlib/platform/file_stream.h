// Files opened for writing, and reading and writing whole files. Paths are UTF-8; on Linux their bytes
// are passed verbatim.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace zar::platform {

enum class opening {
  anew,  ///< created, or truncated
  at_end ///< created if missing; every write goes to the end, even with other writers
};

/// A binary stream that children do not inherit, or null. Its own buffer stays unused: write through write_all().
std::FILE *open_for_writing(const std::string &path, opening how);

/// One system call, bypassing the stream's buffer.
/// @return The number of bytes written; negative for none, with the reason in the last error.
long long write_once(std::FILE *stream, const void *data, size_t size);

/// Completes a write_once() that wrote `arrived` bytes, as documented at write_all().
bool write_rest(std::FILE *stream, const void *data, size_t size, long long arrived);

/// Passes all bytes to the system, bypassing the stream's buffer, in one call where the system accepts them so. If
/// it fails halfway, what was written is removed again, provided that the file is a regular one and nothing has
/// been written after it.
///
/// Inline, because returning from a function that was entered before a system call is slow, and every
/// log line comes here.
[[gnu::always_inline]] inline bool write_all(std::FILE *stream, const void *data, size_t size) {
  const long long arrived = write_once(stream, data, size);
  return arrived == static_cast<long long>(size) || write_rest(stream, data, size, arrived);
}

/// The position of write_all() in bytes; -1 where there is none.
long long stream_position(std::FILE *stream);

/// Appends the content of a file to `content`; on false a part of it may have been appended.
bool read_whole_file(const std::string &path, std::string &content);

/// Creates or truncates the file, writes, forces the bytes to disk and closes. Removes nothing on failure.
bool write_whole_file(const std::string &path, const void *data, size_t size);

} // namespace zar::platform
