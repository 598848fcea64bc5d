// The processes of the machine, by the names of their executables.
#pragma once

#include <string>
#include <vector>

namespace zar::platform {

struct process_entry {
  unsigned long id;
  std::string name; ///< last part of the executable's path
};

/// All processes whose executables are visible, in the system's order. The first entry is the system's own, however
/// little of it is visible: the idle process on Windows, process 1 on Linux. Empty on failure.
std::vector<process_entry> list_processes();

/// Ends a process at once, without notice, if this one has the right to.
void kill_process(unsigned long id);

} // namespace zar::platform
