#include "zarlib/platform/safe_replace.h"

#include "zarlib/platform/files.h"
#include "zarlib/platform/windows/wide_text.h"

namespace zar::platform {

void create_like(const std::string &, const std::string &) {}

void force_names(const std::string &) {}

void remove_replaced(const std::string &path) {
  if (remove_file(path)) return;
  const std::wstring name = to_wide(path);
  const DWORD attributes = GetFileAttributesW(name.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_READONLY)) return;
  SetFileAttributesW(name.c_str(), FILE_ATTRIBUTE_NORMAL);
  remove_file(path);
}

} // namespace zar::platform
