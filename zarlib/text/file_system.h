// File-system verbs and a reader of directories.
//
// Paths are UTF-8 with slashes; on Linux their bytes pass to the system as they are, on Windows as UTF-16. Nothing here
// throws, traces or locks: a call answers 1 or 0, or a size or -1, and what was done before a failure stays done. Links
// are followed unless a call says otherwise.
#pragma once

#include "zarlib/export.h"

#include <memory>
#include <string>

namespace zar::platform {
class directory_reader;
}

/// @return Non-zero when the path leads to a file, a directory or anything else.
ZAR_API int pathFileExist(const std::string &path);

/// @return Type and rights of what the path leads to, or 0 when there is nothing. The bit 0x4000 stands for a directory
///         and for nothing else on both targets; 0x8000 is a regular file, 0x2000 a device, 0x1000 a pipe or a socket;
///         the low nine bits are the rights of owner, group and others.
ZAR_API unsigned int pathStat(const std::string &path);

/// @return Whether the path leads to a directory.
ZAR_API bool pathDirectoryExist(const std::string &path);

/// @return The size in bytes, or -1 when there is nothing or the size is above 2147483647.
ZAR_API int pathFileSize(const std::string &path);

/// @return The size in bytes, or -1 when there is nothing.
ZAR_API long long pathFileSizei64(const std::string &path);

/// Copies a file with its rights over whatever file stands at `to`.
/// @return 1 when copied, and also for two identical strings, when nothing is touched. Else 0; the unfinished copy is
///         removed.
ZAR_API int pathCopyFile(const std::string &from, const std::string &to);

/// Removes a file; a link goes, and what it leads to stays.
/// @return 1 when removed; 0 also for an empty path, a directory, and when there is nothing.
ZAR_API int pathRemoveFile(const std::string &path);

/// Renames a file or directory and never overwrites, not even what another process puts at `to` in the same instant.
/// @return 1 when renamed; 0 also when something stands at `to`, be it `from` itself.
ZAR_API int pathRenameFile(const std::string &from, const std::string &to);

/// Moves a file by pathCopyFile() and pathRemoveFile(): also to another volume, and over what stands at `to`.
/// @return 1 when both succeed, and for two identical strings. On 0 the copy may stand beside the original.
ZAR_API int pathRenameFileEx(const std::string &from, const std::string &to);

/// Creates a directory and all that are missing above it.
///
/// The way up goes by pathRemoveLastPart(), so the path must hang below a directory that it names: one missing part
/// alone, relative ("a", "a/") or directly below the root ("/a"), is refused, and so is a path of 32768 bytes and more.
/// @return 1 when the directory stands at the end. A lone separator and a drive ("C:") give 1 without a look.
ZAR_API int pathCreateDirectory(const std::string &path);

/// @return 1 when an empty directory was removed.
ZAR_API int pathRemoveEmptyDirectory(const std::string &path);

/// Removes a directory with all that is in it, depth first, and goes on over what cannot be removed. A link inside
/// goes, and what it leads to stays.
/// @return 1 when all is gone; 0 also for an empty path, a link, and what is no directory.
ZAR_API int pathRemoveDirectory(const std::string &path);

/// Reads the names in a directory.
///
/// | State  | OpenPath    | ReadFileName                       | ClosePath |
/// |--------|-------------|------------------------------------|-----------|
/// | closed | other path  | opens the path, then as open       | nothing   |
/// | open   | other path, used after ClosePath | next name, or 0 at the end | closed |
///
/// A walker belongs to one thread at a time. Copies made of an open walker share its one search: each name comes to one
/// of them, and the first ClosePath() or destructor ends the search for all.
class ZAR_API chPathWalker {
public:
  /// Calls OpenPath() unless `path` is empty.
  chPathWalker(const std::string &path = std::string());
  chPathWalker(const chPathWalker &) = default;
  chPathWalker &operator=(const chPathWalker &) = default;
  ~chPathWalker();

  /// Sets the directory to read. Nothing is opened, and a search that runs goes on until ClosePath().
  /// @return 1, also when there is no such directory.
  int OpenPath(const std::string &path);

  /// @param name  Receives the next name, without the directory, in the order of the system. Hidden entries come too,
  ///              "." and ".." do not. Left as it is at the end.
  /// @return 1, or 0 at the end; a directory that cannot be opened has no names, and the next call tries it again.
  int ReadFileName(std::string &name);

  /// Ends the search; the path stays, so that the next ReadFileName() starts over.
  void ClosePath();

private:
  std::string m_directory;
  std::shared_ptr<zar::platform::directory_reader> m_search;
};
