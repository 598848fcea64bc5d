#include "zarlib/platform/symbols.h"

#include "zarlib/platform/windows/debug_help.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <psapi.h>
#include <string>
#include <utility>
#include <vector>

namespace zar::platform {

DWORD g_machine = 0;

namespace {

// Never deleted: a stack may be captured until the very end.
CRITICAL_SECTION &section() {
  static CRITICAL_SECTION &made = *[] {
    auto *const result = new CRITICAL_SECTION;
    InitializeCriticalSection(result);
    return result;
  }();
  return made;
}

DWORD machine_of(const char *architecture) {
  if (!architecture) return IMAGE_FILE_MACHINE_I386;
  if (std::strstr(architecture, "EM64T") || std::strstr(architecture, "AMD64")) return IMAGE_FILE_MACHINE_AMD64;
  return std::strstr(architecture, "x86") ? IMAGE_FILE_MACHINE_I386 : 0;
}

using module_place = std::pair<HMODULE, std::string>;

/// The address and file of each module. Listing them is far cheaper than looking names up again.
std::vector<module_place> current_modules() {
  HMODULE handles[1024];
  DWORD bytes = 0;
  K32EnumProcessModules(GetCurrentProcess(), handles, sizeof handles, &bytes);
  std::vector<module_place> modules;
  for (size_t i = 0; i < std::min<size_t>(bytes / sizeof(HMODULE), std::size(handles)); ++i) {
    char name[MAX_PATH] = "";
    GetModuleFileNameA(handles[i], name, sizeof name);
    modules.emplace_back(handles[i], name);
  }
  return modules;
}

bool s_closed = false;

void close_symbols() {
  const debug_help_hold hold;
  SymCleanup(GetCurrentProcess());
  s_closed = true;
}

} // namespace

debug_help_hold::debug_help_hold() {
  const DWORD start = GetTickCount();
  while (!(m_held = TryEnterCriticalSection(&section()) != FALSE) && GetTickCount() - start < 2000) Sleep(1);
}

debug_help_hold::~debug_help_hold() {
  if (m_held) LeaveCriticalSection(&section());
}

bool open_symbols(const char *architecture) {
  g_machine = machine_of(architecture);
  const debug_help_hold hold;
  // Without SYMOPT_LOAD_LINES no address has a line.
  SymSetOptions(SYMOPT_UNDNAME | SYMOPT_DEFERRED_LOADS | SYMOPT_LOAD_LINES);
  if (!SymInitialize(GetCurrentProcess(), nullptr, TRUE)) return false;
  std::atexit(close_symbols);
  return true;
}

bool refresh_modules() {
  static auto &s_known = *new std::vector<module_place>;
  std::vector<module_place> modules = current_modules();
  if (modules == s_known) return false;
  s_known = std::move(modules);
  const debug_help_hold hold;
  if (!s_closed) SymRefreshModuleList(GetCurrentProcess());
  return true;
}

void describe_address(unsigned long long address, symbol &found) {
  found.file[0] = found.name[0] = 0;
  found.line = 0;
  const debug_help_hold hold;
  if (s_closed) return;

  IMAGEHLP_LINE64 line = {};
  line.SizeOfStruct = sizeof line;
  DWORD into_line = 0;
  if (SymGetLineFromAddr64(GetCurrentProcess(), address, &into_line, &line)) {
    std::snprintf(found.file, sizeof found.file, "%s", line.FileName);
    found.line = static_cast<int>(line.LineNumber);
  }

  alignas(SYMBOL_INFO) char room[sizeof(SYMBOL_INFO) + sizeof found.name] = {};
  auto *const info = reinterpret_cast<SYMBOL_INFO *>(room);
  info->SizeOfStruct = sizeof(SYMBOL_INFO);
  info->MaxNameLen = sizeof found.name;
  DWORD64 into_symbol = 0;
  if (SymFromAddr(GetCurrentProcess(), address, &into_symbol, info))
    std::snprintf(found.name, sizeof found.name, "%s", info->Name);
}

} // namespace zar::platform
