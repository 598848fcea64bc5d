// Reading a directory.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace zar::platform {

enum class entry_kind {
  directory,
  other,  ///< certainly neither a directory nor a link
  unknown ///< a link, or the file system does not tell: ask read_facts()
};

struct directory_entry {
  std::string_view name; ///< UTF-8, without the directory; valid until the next read
  entry_kind kind = entry_kind::unknown;
};

/// One pass over a directory in the system's order, without "." and "..", including hidden entries.
class directory_reader {
public:
  /// @param path  A directory, with or without a trailing separator.
  explicit directory_reader(const std::string &path);
  directory_reader(const directory_reader &) = delete;
  directory_reader &operator=(const directory_reader &) = delete;
  ~directory_reader();

  bool is_open() const { return m_search != nullptr; }
  /// @return False at the end, and when nothing is open.
  bool next(directory_entry &entry);
  void close();

private:
  struct search;
  std::unique_ptr<search> m_search;
};

} // namespace zar::platform
