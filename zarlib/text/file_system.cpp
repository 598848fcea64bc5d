#include "zarlib/text/file_system.h"

#include "zarlib/platform/directory.h"
#include "zarlib/platform/files.h"
#include "zarlib/text/characters.h"
#include "zarlib/text/paths.h"

#include <limits>
#include <vector>

namespace platform = zar::platform;

namespace {

constexpr unsigned directory_bit = 0x4000;
constexpr size_t longest_path = 32767; ///< of any system

bool is_root(const std::string &path) {
  if (path.size() == 1) return chIsPathSeparator(path[0]);
  return path.size() == 2 && chIsAlpha(path[0]) && path[1] == ':';
}

std::vector<std::string> names_in(const std::string &path) {
  std::vector<std::string> names;
  platform::directory_reader reader(path);
  for (platform::directory_entry entry; reader.next(entry);) names.emplace_back(entry.name);
  return names;
}

bool remove_entry(const std::string &path) {
  if (platform::is_link(path)) return platform::remove_link(path);
  return pathDirectoryExist(path) ? pathRemoveDirectory(path) : pathRemoveFile(path);
}

/// With a trailing slash, a link would be taken for its target.
bool is_link_or_its_inside(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return platform::is_link(path);
}

} // namespace

int pathFileExist(const std::string &path) { return platform::path_exists(path); }

unsigned int pathStat(const std::string &path) {
  platform::file_facts facts;
  return platform::read_facts(path, facts) ? facts.mode : 0;
}

bool pathDirectoryExist(const std::string &path) { return pathStat(path) & directory_bit; }

int pathFileSize(const std::string &path) {
  const long long size = pathFileSizei64(path);
  return size <= std::numeric_limits<int>::max() ? static_cast<int>(size) : -1;
}

long long pathFileSizei64(const std::string &path) {
  platform::file_facts facts;
  return platform::read_facts(path, facts) ? facts.size : -1;
}

int pathCopyFile(const std::string &from, const std::string &to) { return from == to || platform::copy_file(from, to); }

int pathRemoveFile(const std::string &path) { return platform::remove_file(path); }

int pathRenameFile(const std::string &from, const std::string &to) {
  return from != to && platform::rename_file(from, to); // renaming onto itself would overwrite
}

int pathRenameFileEx(const std::string &from, const std::string &to) {
  return from == to || (pathCopyFile(from, to) && pathRemoveFile(from));
}

int pathCreateDirectory(const std::string &path) {
  if (path.size() > longest_path) return 0;
  std::vector<std::string> missing;
  for (std::string level = path; !is_root(level) && !pathDirectoryExist(level);) {
    std::string parent = pathRemoveLastPart(level);
    // Settled, callers rely on it: a part directly below the root has an empty parent and is refused. And a single
    // relative part is its own parent, so there is no way up from it.
    if (parent.empty() || parent.size() >= level.size()) return 0;
    missing.push_back(std::move(level));
    level = std::move(parent);
  }
  for (auto level = missing.rbegin(); level != missing.rend(); ++level)
    if (!platform::create_directory(*level) && !pathDirectoryExist(*level)) return 0;
  return 1;
}

int pathRemoveEmptyDirectory(const std::string &path) { return platform::remove_directory(path); }

int pathRemoveDirectory(const std::string &path) {
  if (is_link_or_its_inside(path) || !pathDirectoryExist(path)) return 0;
  // Read all names first: the directory does not change under its reader, and a deep tree keeps at most one open at a
  // time.
  const std::string inside = path.back() == '/' ? path : path + '/';
  bool all = true;
  for (const std::string &name : names_in(inside)) all = remove_entry(inside + name) && all;
  return pathRemoveEmptyDirectory(path) && all;
}

chPathWalker::chPathWalker(const std::string &path) {
  if (!path.empty()) OpenPath(path);
}

chPathWalker::~chPathWalker() { ClosePath(); }

int chPathWalker::OpenPath(const std::string &path) {
  m_directory = pathAppend(path, "");
  return 1;
}

int chPathWalker::ReadFileName(std::string &name) {
  if (!m_search) {
    auto opened = std::make_shared<platform::directory_reader>(m_directory);
    if (!opened->is_open()) return 0;
    m_search = std::move(opened);
  }
  platform::directory_entry entry;
  if (!m_search->next(entry)) return 0;
  name = entry.name;
  return 1;
}

void chPathWalker::ClosePath() {
  if (m_search) m_search->close();
  m_search.reset();
}
