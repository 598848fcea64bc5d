// Where the process and its user live.
#pragma once

#include <string>

namespace zar::platform {

// All answers are UTF-8 on Windows, the system's bytes on Linux; empty when there is none.

/// The full path of the running executable, also when the file has been removed or replaced since.
std::string executable_path();

std::string current_directory();

/// Where the environment does not name the user's folder, or the folder for temporary files.
std::string default_home_directory();
std::string default_temporary_directory();

} // namespace zar::platform
