#include "zarlib/platform/last_error.h"

#include "zarlib/platform/windows/wide_text.h"

namespace zar::platform {

unsigned last_error() { return GetLastError(); }

void set_last_error(unsigned code) { SetLastError(code); }

std::string error_text(unsigned code) {
  wchar_t *text = nullptr;
  constexpr DWORD flags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  const DWORD length = FormatMessageW(flags, nullptr, code, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                                      reinterpret_cast<wchar_t *>(&text), 0, nullptr);
  if (length == 0) return {};
  const std::string result = from_wide(std::wstring(text, length));
  LocalFree(text);
  return result;
}

} // namespace zar::platform
