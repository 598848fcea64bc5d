// The verbs of the file system. Paths are UTF-8; on Linux their bytes pass as they are. Nothing here throws.
#pragma once

#include <string>

namespace zar::platform {

/// What a path leads to.
struct file_facts {
  /// One type and the nine bits of the rights. Bit 0x4000 stands for a directory and nothing else: 0x8000 is a regular
  /// file, 0x2000 a device, 0x1000 a pipe or socket.
  unsigned mode = 0;
  long long size = 0;
};

/// Links are followed.
bool read_facts(const std::string &path, file_facts &facts);
/// Whether the path leads to anything.
bool path_exists(const std::string &path);
/// Whether the path itself is a link, of whatever kind, that leads elsewhere.
bool is_link(const std::string &path);
/// Whether both lead to one and the same file or directory.
bool is_same_file(const std::string &a, const std::string &b);

/// Copies a regular file with its rights over whatever stands at `to`. An unfinished copy is removed; a file is never
/// copied onto itself.
bool copy_file(const std::string &from, const std::string &to);
/// Removes a file, or a link to one.
bool remove_file(const std::string &path);
/// Removes a link of any kind and leaves alone what it leads to.
bool remove_link(const std::string &path);
/// Renames a file or a directory, and never replaces anything that stands at `to`, whoever puts it there and when.
bool rename_file(const std::string &from, const std::string &to);

/// REQUIRES: the parent stands.
bool create_directory(const std::string &path);
/// Removes an empty directory.
bool remove_directory(const std::string &path);

} // namespace zar::platform
