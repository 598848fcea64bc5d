// The console in a process of its own: what goes to which stream, and what reaches the debugger's channel, which is shown on
// standard error as "debugger: text".
#include "zarlib/trace/console.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#ifdef _WIN32
#include <windows.h>

static void show(const wchar_t *text) {
  char utf8[512] = {};
  WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8, 511, nullptr, nullptr);
  if (std::strcmp(utf8, "\n") != 0) std::fprintf(stderr, "debugger: %s\n", utf8);
}

static LONG CALLBACK show_debug_string(EXCEPTION_POINTERS *raised) {
  constexpr DWORD narrow = 0x40010006, wide = 0x4001000A;
  const EXCEPTION_RECORD &record = *raised->ExceptionRecord;
  const ULONG_PTR text = record.ExceptionInformation[1];
  wchar_t widened[512] = {};
  if (record.ExceptionCode == narrow)
    MultiByteToWideChar(CP_ACP, 0, reinterpret_cast<const char *>(text), -1, widened, 511);
  else if (record.ExceptionCode != wide)
    return EXCEPTION_CONTINUE_SEARCH;
  show(record.ExceptionCode == wide ? reinterpret_cast<const wchar_t *>(text) : widened);
  return EXCEPTION_CONTINUE_EXECUTION;
}

static void show_channel() { AddVectoredExceptionHandler(1, show_debug_string); }

static void be_debugged() {
  unsigned char *environment_block;
  __asm__("movl %%fs:0x30, %0" : "=r"(environment_block));
  environment_block[2] = 1;
}

static void lose_console() { SetStdHandle(STD_OUTPUT_HANDLE, nullptr); }

#else
#include <sys/ptrace.h>
#include <syslog.h>
#include <unistd.h>

static void show_channel() { openlog("debugger", LOG_PERROR, LOG_USER); }

static void be_debugged() { ptrace(PTRACE_TRACEME, 0, nullptr, nullptr); }

static void lose_console() { close(STDOUT_FILENO); }

#endif

static void write_to_both_streams() {
  consoleWriteString(false, std::string("out\0hidden", 10));
  consoleWriteString(true, std::string("err\0hidden", 10));
  consolePrintf(false, "%s-%d", "printed", 7);
  consolePrintf(true, "%s", std::string(5000, 'x').c_str());
  consolePrintf(false, "%s", "");
  simpTRACE("%s", std::string(9000, 'y').c_str());
  zarOutputDebugString("100%% %s", "debug");
}

static void write_tagged_lines() {
  show_channel();
  for (const char *const text :
       {"[W:] M:x y", "[W:] M:x", "[W:]M:xyz..", "W:.. M:xyz", "[W:] MMxyz", "[W:] M:\xC3\xA4 wide"})
    consoleWriteString(false, text);
}

int main(int argc, char **argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  if (mode == "streams") write_to_both_streams();
  if (mode == "warning") zarOutputWarningString("%s%c hidden", "misuse", 0);
  if (mode == "debugged") be_debugged();
  if (mode == "no-console") lose_console();
  if (mode == "debugged" || mode == "no-console" || mode == "plain") write_tagged_lines();
  std::fflush(stdout);
  std::_Exit(0); // a leak check at the end cannot work in a process that is traced
}
