#include "zarlib/platform/process_dump.h"

#include "zarlib/platform/text_encoding.h"
#include "zarlib/platform/windows/debug_help.h"
#include "zarlib/platform/windows/fault_context.h"

namespace zar::platform {

bool write_process_dump(const char *path, const fault *fault) {
  const HANDLE file = CreateFileA(utf8_to_narrow(path, "").c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_WRITE,
                                  nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  MINIDUMP_EXCEPTION_INFORMATION info = {GetCurrentThreadId(), fault ? fault->pointers : nullptr, FALSE};
  const debug_help_hold hold;
  const bool written = MiniDumpWriteDump(GetCurrentProcess(), GetCurrentProcessId(), file, MiniDumpNormal,
                                         fault ? &info : nullptr, nullptr, nullptr) != FALSE;
  CloseHandle(file);
  return written;
}

} // namespace zar::platform
