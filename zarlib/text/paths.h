// Path algebra: pure functions on path strings that never touch the file system.
//
// Paths are UTF-8. Slash and backslash are both accepted as separators; slashes are written. All functions are
// re-entrant, and only pathTidy() and pathGetAbsolutePath() can fail.
//
//   path           a/b.txt   a/b/    /abc     abc     a.b/c   .profile
//   FileName       b.txt     (none)  abc      abc     c       .profile
//   FileExtension  .txt      (none)  (none)   (none)  (none)  .profile
//   FirstPart      a         a       abc      abc     a.b     .profile
//   LastPart       b.txt     b       abc      abc     c       .profile
//   RemoveLastPart a         a/      (none)   abc     a.b     .profile
#pragma once

#include "zarlib/export.h"

#include <string>

/// Joins with exactly one slash, whatever separators `left` ends with and `right` starts with. The slash is always
/// written: an empty `left` gives a rooted path, an empty `right` a trailing slash.
ZAR_API std::string pathAppend(const std::string &left, const std::string &right);

/// @return The text after the last separator: the whole path if there is none, empty if the path ends in one.
ZAR_API std::string pathGetFileName(const std::string &path);

/// @return The last dot of the file name and what follows it; empty if the file name has no dot.
ZAR_API std::string pathGetFileExtension(const std::string &path);

/// @return The first part; leading separators are skipped.
ZAR_API std::string pathGetFirstPart(const std::string &path);

/// @return The last part; trailing separators are skipped.
ZAR_API std::string pathGetLastPart(const std::string &path);

/// Removes as many bytes as the last part plus one separator have, counted from the end of the path. So a trailing
/// separator stays ("a/b/" gives "a/"), a rooted path of one part becomes empty ("/abc" gives ""), and a path of one
/// part without a separator is returned unchanged.
ZAR_API std::string pathRemoveLastPart(const std::string &path);

/// Replaces the last dot and what follows it by `extension`, which includes its own dot if one is wanted. The last dot
/// counts wherever it is, even in a directory name ("a.b/c" and ".xml" give "a.xml"); a path without a dot is lost:
/// "abc" and ".xml" give ".xml".
ZAR_API std::string pathReplaceExtern(const std::string &path, const std::string &extension);

/// Replaces the text after the last separator by `name`; a path without a separator gives `name` alone.
ZAR_API std::string pathReplaceFileName(const std::string &path, const std::string &name);

/// Brings an absolute path to its shortest form: one slash before each part, "." and ".." resolved, never climbing
/// above the root.
///
///     C:\a\.\b\..\c\   C:/a/c      /a//b   /a/b     \\srv\x    \/srv/x
///     C:\              C:/         /../a   /a       //srv/x    /srv/x
///
/// The first character, after a drive or the first of two backslashes, is assumed to be the root's separator and
/// dropped UNCHECKED: "abc/def" gives "/bc/def". Pass relative paths through pathGetAbsolutePath() first.
/// @throws std::out_of_range  for an empty path and for a bare drive ("C:").
ZAR_API std::string pathTidy(const std::string &path);

/// @param path  Used as it is if it starts with a separator or a drive (a letter and a colon); otherwise relative to
///              `base`.
/// @param base  If empty, the directory of the running executable.
/// @return The tidied path.
/// @throws std::out_of_range  for a bare drive, as pathTidy().
ZAR_API std::string pathGetAbsolutePath(const std::string &path, const std::string &base);
