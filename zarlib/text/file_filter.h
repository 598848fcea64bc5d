// Filters of file names, and finding files in a tree.
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
/// A filter is a text of patterns between semicolons: "*.log;*.txt;-debug*". One that begins with a minus sign denies
/// what it matches, any other accepts; a plus sign at the start is allowed and left out. Empty patterns are dropped.
///
///   *        any run of characters, also none
///   ?        one character
///   |        either of two patterns: "*.jpg|*.png"
///   \        with a letter, an escape of an ECMAScript regular expression: "\d" is a digit; doubled, a backslash
///   others   themselves, upper and lower case told apart
///
/// A pattern matches the whole name, byte by byte. The characters of * and ? can be anything but a line feed and a
/// carriage return.
///
/// Matching takes time linear in the name for the usual patterns. Those with | or \ are run by std::regex, which is
/// slower by orders of magnitude and recurses once or more for each character of the name.
///
/// Copies are independent, and so are objects moved from: they keep their patterns. Threads may match at once with one
/// object as long as none calls SetFilter().
class ZAR_API chFileFilter {
public:
  /// Calls SetFilter().
  chFileFilter(const std::string &filter = std::string());
  chFileFilter(const chFileFilter &) = default;
  chFileFilter &operator=(const chFileFilter &) = default;
  ~chFileFilter() = default;

  /// Replaces all patterns. An empty text accepts every name and denies none.
  /// @return 1.
  /// @throws std::regex_error  for a pattern that cannot be understood (a lone \ at its end); the patterns ahead of it
  ///                           are in force then.
  int SetFilter(const std::string &filter);

  /// @return 1 when `name` matches an accepting pattern, or when there is none; else 0. Denying patterns are not looked
  ///         at.
  int IsAcceptFileName(const std::string &name) const;

  /// @return 1 when `name` matches a denying pattern, else 0.
  int IsDenyFileName(const std::string &name) const;

private:
  static std::string fileExpress2REText(const std::string &pattern);

  std::shared_ptr<const zar::name_patterns> m_patterns; ///< never changed, so that copies may share it
};

/// Finds the files whose names a filter accepts and does not deny, and inserts their paths into `files`: `root`, a
/// slash, and so on.
///
/// The list stays sorted byte by byte: each path goes ahead of the first entry that is greater. The list is not cleared
/// first, and a path that is in it already comes a second time, behind. Whatever is no directory counts as a file.
/// Links are followed, but not a link to a directory that the walk is in at that moment.
/// @param recursive  Whether to go down into directories too: all of them but those whose names are denied. Accepting
///                   patterns are for files only.
/// @return true. A directory that cannot be read has no files.
/// @throws std::regex_error  as chFileFilter::SetFilter(), before the list is touched.
ZAR_API bool zarFindFile(const std::string &root, const std::string &filter, std::list<std::string> &files,
                         bool recursive);
