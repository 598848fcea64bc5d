// File-system operations and a directory reader.
//
// Paths are UTF-8 with slashes; on Linux their bytes are passed to the system unchanged, on Windows as UTF-16. Nothing
// here throws, traces or locks: a call returns 1 or 0, or a size or -1, and what was done before a failure stays done.
// Links are followed unless stated otherwise.
#pragma once

#include "zarlib/export.h"

#include <memory>
#include <string>

namespace zar::platform {
class directory_reader;
}

/// @return Non-zero when the path refers to a file, a directory or anything else.
ZAR_API int pathFileExist(const std::string &path);

/// @return Type and permissions of what the path refers to, or 0 if it does not exist. On both targets bit 0x4000 means
///         a directory and nothing else; 0x8000 is a regular file, 0x2000 a device, 0x1000 a pipe or a socket; the low
///         nine bits are the permissions of owner, group and others.
ZAR_API unsigned int pathStat(const std::string &path);

/// @return Whether the path refers to a directory.
ZAR_API bool pathDirectoryExist(const std::string &path);

/// @return The size in bytes, or -1 if nothing exists or the size exceeds 2147483647.
ZAR_API int pathFileSize(const std::string &path);

/// @return The size in bytes, or -1 if nothing exists.
ZAR_API long long pathFileSizei64(const std::string &path);

/// Copies a file with its permissions, replacing any file at `to`.
/// @return 1 when copied, and also for two identical strings, in which case nothing is touched. Otherwise 0; the
///         unfinished copy is removed.
ZAR_API int pathCopyFile(const std::string &from, const std::string &to);

/// Removes a file; a link is removed, not its target.
/// @return 1 when removed; 0 also for an empty path, a directory, and if nothing exists.
ZAR_API int pathRemoveFile(const std::string &path);

/// Renames a file or directory and never overwrites, not even what another process creates at `to` at the same moment.
/// @return 1 when renamed; 0 also when `to` exists, even if it is `from` itself.
ZAR_API int pathRenameFile(const std::string &from, const std::string &to);

/// Moves a file by pathCopyFile() and pathRemoveFile(): also across volumes, and replacing any file at `to`.
/// @return 1 when both succeed, and for two identical strings. After 0 the copy may exist beside the original.
ZAR_API int pathRenameFileEx(const std::string &from, const std::string &to);

/// Creates a directory and any missing parents.
///
/// The parents are found by pathRemoveLastPart(), so the path must name its parent: a single missing part, whether
/// relative ("a", "a/") or directly below the root ("/a"), is refused, and so is a path of 32768 bytes or more.
/// @return 1 when the directory exists at the end. A lone separator and a drive ("C:") return 1 unchecked.
ZAR_API int pathCreateDirectory(const std::string &path);

/// @return 1 when an empty directory was removed.
ZAR_API int pathRemoveEmptyDirectory(const std::string &path);

/// Removes a directory and all its contents, depth first, continuing past whatever cannot be removed. Links inside are
/// removed, not their targets.
/// @return 1 when everything is gone; 0 also for an empty path, a link, and anything that is not a directory.
ZAR_API int pathRemoveDirectory(const std::string &path);

/// Reads the names in a directory.
///
/// | State  | OpenPath                  | ReadFileName                 | ClosePath |
/// |--------|---------------------------|------------------------------|-----------|
/// | closed | sets the path             | opens the path, then as open | nothing   |
/// | open   | path used after ClosePath | next name, or 0 at the end   | closed    |
///
/// A walker belongs to one thread at a time. Copies of an open walker share its one search: each name goes to only one
/// of them, and the first ClosePath() or destructor ends the search for all.
class ZAR_API chPathWalker {
public:
  /// Calls OpenPath() unless `path` is empty.
  chPathWalker(const std::string &path = std::string());
  chPathWalker(const chPathWalker &) = default;
  chPathWalker &operator=(const chPathWalker &) = default;
  ~chPathWalker();

  /// Sets the directory to read. Nothing is opened, and a search in progress continues until ClosePath().
  /// @return Always 1, even if there is no such directory.
  int OpenPath(const std::string &path);

  /// @param name  Receives the next name, without the directory, in the system's order. Hidden entries are included,
  ///              "." and ".." are not. Unchanged at the end.
  /// @return 1, or 0 at the end; a directory that cannot be opened has no names, and the next call tries again.
  int ReadFileName(std::string &name);

  /// Ends the search; the path stays, so that the next ReadFileName() starts over.
  void ClosePath();

private:
  std::string m_directory;
  std::shared_ptr<zar::platform::directory_reader> m_search;
};
