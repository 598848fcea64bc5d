#include "zarlib/platform/processes.h"

#include "zarlib/platform/types.h"

#include <tlhelp32.h>

namespace zar::platform {

std::vector<process_entry> list_processes() {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  if (snapshot == INVALID_HANDLE_VALUE) return {};
  std::vector<process_entry> result;
  PROCESSENTRY32 entry = {};
  entry.dwSize = sizeof entry;
  for (BOOL more = Process32First(snapshot, &entry); more; more = Process32Next(snapshot, &entry))
    result.push_back({entry.th32ProcessID, entry.szExeFile});
  CloseHandle(snapshot);
  return result;
}

void kill_process(unsigned long id) {
  const HANDLE process = OpenProcess(PROCESS_TERMINATE, FALSE, id);
  if (!process) return;
  TerminateProcess(process, 0);
  CloseHandle(process);
}

} // namespace zar::platform
