// Path algebra: pure functions on path strings, which never touch the file system.
//
// Paths are UTF-8. Slash and backslash both separate parts on reading; what is written is the slash. All functions are
// re-entrant, and none but pathTidy() and pathGetAbsolutePath() can fail.
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

/// Joins with exactly one slash, whatever separators `left` ends and `right` starts with. The slash is always written:
/// an empty `left` gives a rooted path, an empty `right` a trailing slash.
ZAR_API std::string pathAppend(const std::string &left, const std::string &right);

/// @return The text behind the last separator: the whole path without one, nothing when the path ends in one.
ZAR_API std::string pathGetFileName(const std::string &path);

/// @return The last dot of the file name and what follows it; nothing when the file name has no dot.
ZAR_API std::string pathGetFileExtension(const std::string &path);

/// @return The first part; separators ahead of it are skipped.
ZAR_API std::string pathGetFirstPart(const std::string &path);

/// @return The last part; separators behind it are skipped.
ZAR_API std::string pathGetLastPart(const std::string &path);

/// Cuts off as many bytes as the last part and one separator have, counted from the end of the path. So a trailing
/// separator stays ("a/b/" gives "a/"), a rooted path of one part gives nothing ("/abc" gives ""), and a path of one
/// part without a separator comes back unchanged.
ZAR_API std::string pathRemoveLastPart(const std::string &path);

/// Replaces the last dot and what follows it by `extension`, which brings its own dot if one is wanted. The last dot
/// counts wherever it stands but in the first place, in the name of a folder too ("a.b/c" and ".xml" give "a.xml"); a
/// path without one is lost: "abc" and ".xml" give ".xml".
ZAR_API std::string pathReplaceExtern(const std::string &path, const std::string &extension);

/// Replaces the text behind the last separator by `name`; a path without a separator gives `name` alone.
ZAR_API std::string pathReplaceFileName(const std::string &path, const std::string &name);

/// Brings an absolute path to its shortest form: one slash before each part, no "." and "..", which never climb above
/// the root.
///
///     C:\a\.\b\..\c\   C:/a/c      /a//b   /a/b     \\srv\x    \/srv/x
///     C:\              C:/         /../a   /a       //srv/x    /srv/x
///
/// The first character, behind a drive or the first of two backslashes, is taken for the root's separator and dropped
/// UNSEEN: "abc/def" gives "/bc/def". Relative paths go through pathGetAbsolutePath() first.
/// @throws std::out_of_range  for an empty path and for a bare drive ("C:").
ZAR_API std::string pathTidy(const std::string &path);

/// @param path  Taken as it is when it starts with a separator or a drive (a letter and a colon); otherwise a part
///              below `base`.
/// @param base  Empty means the folder of the running executable.
/// @return The tidied path.
/// @throws std::out_of_range  for a bare drive, as pathTidy().
ZAR_API std::string pathGetAbsolutePath(const std::string &path, const std::string &base);
