#include "zarlib/platform/application_paths.h"

#include "zarlib/platform/linux/executable_of.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace zar::platform {

std::string executable_path() { return executable_of("thread-self"); }

std::string current_directory() {
  // The C library allocates as much as the path needs.
  char *const path = getcwd(nullptr, 0);
  std::string result = path ? path : "";
  std::free(path);
  return result;
}

std::string default_home_directory() {
  const char *const home = std::getenv("HOME");
  if (home && *home) return home;
  passwd record, *found = nullptr;
  std::vector<char> texts(16384);
  return getpwuid_r(getuid(), &record, texts.data(), texts.size(), &found) == 0 && found ? found->pw_dir : "";
}

std::string default_temporary_directory() {
  const char *const path = std::getenv("TMPDIR");
  return path && *path ? path : "/tmp";
}

} // namespace zar::platform
