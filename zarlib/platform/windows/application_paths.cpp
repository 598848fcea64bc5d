#include "zarlib/platform/application_paths.h"

#include "zarlib/platform/windows/wide_text.h"

namespace zar::platform {

constexpr DWORD limit = 260;

std::string executable_path() {
  // A path truncated at the limit is terminated within it or, on old systems, not at all.
  wchar_t path[limit + 1] = {};
  GetModuleFileNameW(nullptr, path, limit);
  return from_wide(path);
}

std::string current_directory() {
  wchar_t path[limit + 1] = {};
  // For a longer path the result is the size it needs.
  const DWORD length = GetCurrentDirectoryW(limit, path);
  return from_wide(std::wstring(path, length < limit ? length : 0));
}

// Both variables exist in every session; a process started without them gets no guess.
std::string default_home_directory() { return {}; }
std::string default_temporary_directory() { return {}; }

} // namespace zar::platform
