#include "zarlib/platform/processes.h"

#include "zarlib/platform/linux/executable_of.h"

#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <memory>
#include <utility>

namespace zar::platform {

static std::string name_of(const std::string &process) {
  const std::string path = executable_of(process);
  return path.substr(path.rfind('/') + 1);
}

std::vector<process_entry> list_processes() {
  const std::unique_ptr<DIR, int (*)(DIR *)> folder(opendir("/proc"), closedir);
  if (!folder) return {};
  // Process 1 leads the list even if /proc is mounted so that it hides other users' processes.
  std::vector<process_entry> result = {{1, name_of("1")}};
  while (const dirent *const entry = readdir(folder.get())) {
    const unsigned long id = std::strtoul(entry->d_name, nullptr, 10);
    if (id <= 1) continue;
    if (std::string name = name_of(entry->d_name); !name.empty()) result.push_back({id, std::move(name)});
  }
  return result;
}

void kill_process(unsigned long id) { kill(static_cast<pid_t>(id), SIGKILL); }

} // namespace zar::platform
