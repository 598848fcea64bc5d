// File name filters, and finding files in a directory tree.
#pragma once

#include "zarlib/export.h"

#include <list>
#include <memory>
#include <string>

namespace zar {
struct name_patterns;
}

/// Accepts and denies file names by patterns.
///
/// A filter is a list of patterns separated by semicolons: "*.log;*.txt;-debug*". A pattern that begins with a minus
/// sign denies what it matches, any other accepts; a leading plus sign is allowed and ignored. Empty patterns are
/// dropped.
///
///   *        any run of characters, including none
///   ?        one character
///   |        either of two patterns: "*.jpg|*.png"
///   \        with a letter, an escape of an ECMAScript regular expression: "\d" is a digit; doubled, a backslash
///   others   themselves, case-sensitively
///
/// A pattern matches the whole name, byte by byte. * and ? match anything except a line feed and a carriage return.
///
/// Matching time is linear in the name for ordinary patterns. Those with | or \ are run by std::regex, which is slower
/// by orders of magnitude and recurses at least once per character of the name.
///
/// Copies are independent, and moved-from objects keep their patterns. Threads may match concurrently with one object
/// as long as none calls SetFilter().
class ZAR_API chFileFilter {
public:
  /// Calls SetFilter().
  chFileFilter(const std::string &filter = std::string());
  chFileFilter(const chFileFilter &) = default;
  chFileFilter &operator=(const chFileFilter &) = default;
  ~chFileFilter() = default;

  /// Replaces all patterns. An empty text accepts every name and denies none.
  /// @return 1.
  /// @throws std::regex_error  for a pattern that does not compile (a lone \ at its end); the patterns before it are
  ///                           then in force.
  int SetFilter(const std::string &filter);

  /// @return 1 when `name` matches an accepting pattern, or when there is none; otherwise 0. Denying patterns are
  ///         ignored.
  int IsAcceptFileName(const std::string &name) const;

  /// @return 1 when `name` matches a denying pattern, otherwise 0.
  int IsDenyFileName(const std::string &name) const;

private:
  static std::string fileExpress2REText(const std::string &pattern);

  std::shared_ptr<const zar::name_patterns> m_patterns; ///< never modified, so that copies can share it
};

/// Finds the files whose names a filter accepts and does not deny, and inserts their paths into `files`: `root`, a
/// slash, and so on.
///
/// The list is kept sorted bytewise: each path is inserted before the first greater entry. The list is not cleared
/// first, and a path already in it is inserted again, after the existing one. Anything that is not a directory counts
/// as a file. Links are followed, except to a directory that the walk is currently in.
/// @param recursive  Whether to descend into directories: all of them except those whose names are denied. Accepting
///                   patterns apply to files only.
/// @return Always true. A directory that cannot be read contributes no files.
/// @throws std::regex_error  as chFileFilter::SetFilter(), before the list is modified.
ZAR_API bool zarFindFile(const std::string &root, const std::string &filter, std::list<std::string> &files,
                         bool recursive);
