// File system operations. Paths are UTF-8; on Linux their bytes are passed verbatim. Nothing here throws.
#pragma once

#include <string>

namespace zar::platform {

/// What a path leads to.
struct file_facts {
  /// One file type and the nine permission bits. Bit 0x4000 stands for a directory and nothing else: 0x8000 is a
  /// regular file, 0x2000 a device, 0x1000 a pipe or socket.
  unsigned mode = 0;
  long long size = 0;
};

/// Follows links.
bool read_facts(const std::string &path, file_facts &facts);
/// Whether the path leads to anything.
bool path_exists(const std::string &path);
/// Whether the path itself is a link, of any kind, that leads elsewhere.
bool is_link(const std::string &path);
/// Whether both lead to the same file or directory.
bool is_same_file(const std::string &a, const std::string &b);

/// Copies a regular file with its permissions over whatever is at `to`. An incomplete copy is removed; a file is
/// never copied onto itself.
bool copy_file(const std::string &from, const std::string &to);
/// Removes a file, or a link to one.
bool remove_file(const std::string &path);
/// Removes a link of any kind, leaving its target alone.
bool remove_link(const std::string &path);
/// Renames a file or a directory; never replaces anything at `to`, not even in a race.
bool rename_file(const std::string &from, const std::string &to);

/// REQUIRES: the parent exists.
bool create_directory(const std::string &path);
/// Removes an empty directory.
bool remove_directory(const std::string &path);

} // namespace zar::platform
