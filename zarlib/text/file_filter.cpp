#include "zarlib/text/file_filter.h"

#include "zarlib/platform/directory.h"
#include "zarlib/platform/files.h"
#include "zarlib/text/paths.h"
#include "zarlib/text/words.h"

#include <algorithm>
#include <regex>
#include <string_view>
#include <variant>
#include <vector>

namespace platform = zar::platform;

namespace {

/// A pattern of literals, * and ? only.
struct wildcard {
  std::string pattern;
};

// The wildcards stand for the dot of regular expressions, which does not match line ends.
bool is_line_end(char c) { return c == '\n' || c == '\r'; }

/// Each * takes the shortest run that works, and only the last * met is ever extended: a longer run for an earlier one
/// could only reach what the later one reaches too. Line ends do not break this: the n-th of the name must match the
/// n-th of the pattern in any case.
bool matches(const wildcard &card, std::string_view name) {
  const std::string_view pattern = card.pattern;
  size_t at = 0, reached = 0;
  size_t star = std::string_view::npos; ///< just after the last * met
  size_t run_end = 0;                   ///< end of the run that this * currently takes
  while (reached < name.size()) {
    const char expected = at < pattern.size() ? pattern[at] : '\0';
    if (at < pattern.size() && expected == '*') {
      star = ++at;
      run_end = reached;
    } else if (at < pattern.size() && (expected == '?' ? !is_line_end(name[reached]) : expected == name[reached])) {
      ++at;
      ++reached;
    } else if (star != std::string_view::npos && !is_line_end(name[run_end])) {
      at = star;
      reached = ++run_end;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', at) == std::string_view::npos;
}

bool matches(const std::regex &expression, std::string_view name) {
  return std::regex_match(name.begin(), name.end(), expression);
}

using name_pattern = std::variant<wildcard, std::regex>;

bool matches_any(const std::vector<name_pattern> &patterns, std::string_view name) {
  return std::any_of(patterns.begin(), patterns.end(), [name](const name_pattern &pattern) {
    return std::visit([name](const auto &kind) { return matches(kind, name); }, pattern);
  });
}

// Bars and backslashes are passed on to the regular expression, whose compiler treats NUL specially.
bool is_wildcard(std::string_view pattern) {
  return pattern.find_first_of(std::string_view("|\\\0", 3)) == std::string_view::npos;
}

} // namespace

struct zar::name_patterns {
  std::vector<name_pattern> accepted;
  std::vector<name_pattern> denied;

  bool accepts(std::string_view name) const { return accepted.empty() || matches_any(accepted, name); }
  bool denies(std::string_view name) const { return matches_any(denied, name); }
};

chFileFilter::chFileFilter(const std::string &filter) { SetFilter(filter); }

int chFileFilter::SetFilter(const std::string &filter) {
  const auto patterns = std::make_shared<zar::name_patterns>();
  m_patterns = patterns;
  for (const std::string &field : zarTextBreak(filter, ';')) {
    auto &list = field[0] == '-' ? patterns->denied : patterns->accepted;
    std::string pattern = field[0] == '-' || field[0] == '+' ? field.substr(1) : field;
    if (is_wildcard(pattern))
      list.push_back(wildcard{std::move(pattern)});
    else
      list.push_back(std::regex(fileExpress2REText(pattern)));
  }
  return 1;
}

int chFileFilter::IsAcceptFileName(const std::string &name) const { return m_patterns->accepts(name); }

int chFileFilter::IsDenyFileName(const std::string &name) const { return m_patterns->denies(name); }

std::string chFileFilter::fileExpress2REText(const std::string &pattern) {
  std::string text;
  for (const char c : pattern) {
    if (c == '*') {
      text += ".*";
    } else if (c == '?') {
      text += '.';
    } else {
      if (std::string_view("$()+-.[]^{}").find(c) != std::string_view::npos) text += '\\';
      text += c;
    }
  }
  return text;
}

namespace {

/// One walk through a tree, which finds the paths in their final order.
class finder {
public:
  finder(const chFileFilter &filter, bool recursive) : m_filter(filter), m_recursive(recursive) {}

  std::list<std::string> find(const std::string &root) {
    const std::string top = pathAppend(root, "");
    m_top_length = top.size();
    walk(top);
    return std::move(m_found);
  }

private:
  /// @param directory  With a trailing slash, as everywhere here.
  void walk(const std::string &directory) {
    const std::string names = read(directory);
    for (const std::string_view name : sorted(names)) {
      std::string path;
      path.reserve(directory.size() + name.size());
      path.append(directory).append(name);
      if (name.back() == '/')
        walk(path);
      else
        m_found.push_back(std::move(path));
    }
  }

  /// The names to process, each NUL-terminated (no name contains one); those of directories have a trailing slash.
  std::string read(const std::string &directory) const {
    std::string names, name;
    platform::directory_reader reader(directory);
    for (platform::directory_entry entry; reader.next(entry);) {
      name = entry.name;
      if (m_filter.IsDenyFileName(name)) continue;
      const bool accepted = m_filter.IsAcceptFileName(name);
      if (!accepted && (!m_recursive || entry.kind == platform::entry_kind::other)) continue;
      const bool below = is_directory(directory, entry);
      if (below ? !m_recursive || leads_upward(directory, entry) : !accepted) continue;
      names.append(name).append(below ? "/" : "").push_back('\0');
    }
    return names;
  }

  /// With its trailing slash, a directory sorts exactly where the paths below it belong.
  static std::vector<std::string_view> sorted(std::string_view names) {
    std::vector<std::string_view> result;
    for (size_t start = 0; start < names.size(); start += result.back().size() + 1)
      result.push_back(names.substr(start, names.find('\0', start) - start));
    std::sort(result.begin(), result.end());
    return result;
  }

  static bool is_directory(const std::string &directory, const platform::directory_entry &entry) {
    if (entry.kind != platform::entry_kind::unknown) return entry.kind == platform::entry_kind::directory;
    platform::file_facts facts;
    return platform::read_facts(std::string(directory).append(entry.name), facts) && (facts.mode & 0x4000);
  }

  /// Whether a link leads back to one of the directories that contain it, which would recurse forever.
  bool leads_upward(const std::string &directory, const platform::directory_entry &entry) const {
    if (entry.kind != platform::entry_kind::unknown) return false;
    const std::string link = std::string(directory).append(entry.name);
    for (std::string above = directory;; above.erase(above.rfind('/', above.size() - 2) + 1)) {
      if (platform::is_same_file(link, above)) return true;
      if (above.size() <= m_top_length) return false;
    }
  }

  const chFileFilter &m_filter;
  const bool m_recursive;
  size_t m_top_length = 0;
  std::list<std::string> m_found;
};

/// Inserts each of the sorted `found` before the first greater entry. One pass suffices even if `files` was not sorted:
/// the first entry greater than a greater path is never earlier.
void insert_all(std::list<std::string> &files, std::list<std::string> found) {
  for (auto place = files.begin(); !found.empty() && place != files.end();) {
    if (found.front() < *place)
      files.splice(place, found, found.begin());
    else
      ++place;
  }
  files.splice(files.end(), found);
}

} // namespace

bool zarFindFile(const std::string &root, const std::string &filter, std::list<std::string> &files, bool recursive) {
  const chFileFilter patterns(filter);
  insert_all(files, finder(patterns, recursive).find(root));
  return true;
}
