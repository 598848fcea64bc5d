// Paths of the process and its user.
#pragma once

#include <string>

namespace zar::platform {

// All results are UTF-8 on Windows, the system's bytes on Linux; empty when there is none.

/// The full path of the running executable, even if the file has been removed or replaced since.
std::string executable_path();

std::string current_directory();

/// Used where the environment does not name the user's home directory, or the directory for temporary files.
std::string default_home_directory();
std::string default_temporary_directory();

} // namespace zar::platform
