#include "zarlib/platform/directory.h"

#include "zarlib/platform/windows/wide_text.h"

#include <utility>

namespace zar::platform {

struct directory_reader::search {
  HANDLE handle;
  WIN32_FIND_DATAW data;
  bool fresh = true; ///< `data` holds the first entry, found on opening
  std::string name;

  explicit search(const std::wstring &pattern)
      : handle(FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &data, FindExSearchNameMatch, nullptr, 0)) {}
  search(const search &) = delete;
  search &operator=(const search &) = delete;
  ~search() {
    if (handle != INVALID_HANDLE_VALUE) FindClose(handle);
  }

  bool advance() { return std::exchange(fresh, false) || FindNextFileW(handle, &data); }
};

directory_reader::directory_reader(const std::string &path) {
  if (path.empty()) return;
  const bool separated = path.back() == '/' || path.back() == '\\';
  auto opened = std::make_unique<search>(to_wide(path + (separated ? "*.*" : "/*.*")));
  if (opened->handle != INVALID_HANDLE_VALUE) m_search = std::move(opened);
}

directory_reader::~directory_reader() = default;

void directory_reader::close() { m_search.reset(); }

bool directory_reader::next(directory_entry &entry) {
  if (!m_search) return false;
  do {
    if (!m_search->advance()) return false;
    m_search->name = from_wide(m_search->data.cFileName);
  } while (m_search->name == "." || m_search->name == "..");
  entry.name = m_search->name;
  const DWORD attributes = m_search->data.dwFileAttributes;
  entry.kind = attributes & FILE_ATTRIBUTE_REPARSE_POINT ? entry_kind::unknown
               : attributes & FILE_ATTRIBUTE_DIRECTORY   ? entry_kind::directory
                                                         : entry_kind::other;
  return true;
}

} // namespace zar::platform
