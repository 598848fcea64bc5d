// The executable of a process, as /proc shows it.
#pragma once

#include <climits>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace zar::platform {

/// The full path of the executable of a process, given by its id or "thread-self"; empty if there is none or it cannot
/// be read.
inline std::string executable_of(const std::string &process) {
  const std::string link = "/proc/" + process + "/exe";
  char text[PATH_MAX];
  const ssize_t length = readlink(link.c_str(), text, sizeof text);
  std::string path(text, length > 0 ? static_cast<size_t>(length) : 0);

  // The kernel marks the path of a deleted file; a file may also really have such a name, and then it has a link.
  constexpr char mark[] = " (deleted)";
  constexpr size_t mark_length = sizeof mark - 1;
  struct stat file;
  if (path.size() > mark_length && path.compare(path.size() - mark_length, mark_length, mark) == 0 &&
      stat(link.c_str(), &file) == 0 && file.st_nlink == 0)
    path.resize(path.size() - mark_length);
  return path;
}

} // namespace zar::platform
