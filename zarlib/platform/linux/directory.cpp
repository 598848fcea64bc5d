#include "zarlib/platform/directory.h"

#include <dirent.h>

namespace zar::platform {

struct directory_reader::search {
  DIR *stream;
  explicit search(DIR *opened) : stream(opened) {}
  search(const search &) = delete;
  search &operator=(const search &) = delete;
  ~search() { closedir(stream); }
};

static bool is_dots(const char *name) { return name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0)); }

directory_reader::directory_reader(const std::string &path) {
  if (DIR *const stream = opendir(path.c_str())) m_search = std::make_unique<search>(stream);
}

directory_reader::~directory_reader() = default;

void directory_reader::close() { m_search.reset(); }

bool directory_reader::next(directory_entry &entry) {
  if (!m_search) return false;
  const dirent *found = readdir(m_search->stream);
  while (found && is_dots(found->d_name)) found = readdir(m_search->stream);
  if (!found) return false;
  entry.name = found->d_name;
  const auto type = found->d_type;
  entry.kind = type == DT_DIR                         ? entry_kind::directory
               : type == DT_LNK || type == DT_UNKNOWN ? entry_kind::unknown
                                                      : entry_kind::other;
  return true;
}

} // namespace zar::platform
