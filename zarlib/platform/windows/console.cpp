#include "zarlib/platform/console.h"

#include "zarlib/platform/windows/wide_text.h"

namespace zar::platform {

bool has_console() { return GetStdHandle(STD_OUTPUT_HANDLE) != nullptr; }

bool is_debugged() { return IsDebuggerPresent() != FALSE; }

void write_to_debugger(const std::string &text, bool ascii) {
  if (ascii)
    OutputDebugStringA(text.c_str());
  else
    OutputDebugStringW(to_wide(text).c_str());
  OutputDebugStringA("\n");
}

} // namespace zar::platform
