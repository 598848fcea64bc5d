#include "zarlib/crash/crash_capture.h"

#include "zarlib/crash/symbol_handler.h"
#include "zarlib/frame/process_identity.h"
#include "zarlib/platform/console.h"
#include "zarlib/platform/fault.h"
#include "zarlib/platform/process_dump.h"
#include "zarlib/platform/report_file.h"
#include "zarlib/platform/stack.h"
#include "zarlib/text/document_path.h"
#include "zarlib/text/environment.h"
#include "zarlib/text/paths.h"
#include "zarlib/time/ticks.h"

#include <cstdio>
#include <cstring>
#include <string>

// Everything but zarHookCrashSignal() runs in a dying process. The heap may be corrupt, so nothing here allocates:
// texts are formatted into fixed buffers and truncated if they do not fit, and files are written by plain system calls.
// What depends on the state of the rest of the process is a guarded step, which may fault or hang without ending the
// report.

namespace {

constexpr int frames_max = 64;
constexpr size_t line_capacity = 2000;

/// The executable's file name, determined while the process is healthy. Never destroyed: a fault may occur at exit.
const std::string &program_name() {
  static const std::string &name = *new std::string(pathGetLastPart(zarGetExeFileName()));
  return name;
}

using zar::platform::run_guarded;

// Time limits for the steps of a report, in milliseconds.
constexpr int moment = 1000;
constexpr int line_limit = 10000;

/// The path of a report file; empty if it cannot be determined.
class report_path {
public:
  explicit report_path(const char *suffix) {
    run_guarded(moment, [this, suffix] {
      const auto folder = zar::document_path();
      const int length =
          std::snprintf(m_text, sizeof m_text, "%s/log/%s%s", folder->c_str(), program_name().c_str(), suffix);
      // A path that was cut would name some other file.
      if (length >= static_cast<int>(sizeof m_text)) m_text[0] = 0;
    });
  }

  const char *text() const { return m_text; }

private:
  char m_text[4096] = "";
};

void write_minidump(const zar::platform::fault *fault, const SYSTEMTIME &now) {
  char suffix[64];
  std::snprintf(suffix, sizeof suffix, "-%.4d%.2d%.2d-%.2d%.2d%.2d.dmp", now.wYear, now.wMonth, now.wDay, now.wHour,
                now.wMinute, now.wSecond);
  const report_path path(suffix);
  zar::platform::write_process_dump(path.text(), fault);
}

/// Everything before the stack.
void write_head(zar::platform::report_file &file, const SYSTEMTIME &now) {
  const auto process = static_cast<int>(zarGetCurrentProcessId()), thread = static_cast<int>(zarGetCurrentThreadId());
  const chTick tick = chTimer::GetTickFromBoot();
  char text[256];
  const int length = std::snprintf(
      text, sizeof text, "Dump by crash\nPID=%d TID=%d \nname=%d\nTime at : %d-%.2d-%.2d %.2d:%.2d:%.2d = %u.%.6d\n",
      process, thread, thread, now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond,
      static_cast<unsigned>(tick.seconds), tick.microseconds);
  file.write(text, static_cast<size_t>(length));
}

/// One line per frame. The first look-up that faults or times out ends the stack, not the report.
void write_stack(zar::platform::report_file &file, const zar::platform::fault &fault) {
  static const bool debugged = zar::platform::is_debugged();
  if (debugged || !zar::symbol_handler()) return;
  unsigned long long frames[frames_max];
  const int count = zar::platform::walk_fault_stack(fault, frames, frames_max);
  for (int index = 0; index < count; ++index) {
    char line[line_capacity + 1] = "";
    if (!run_guarded(line_limit, [&] { zar::symbolize_address(frames[index], line, line_capacity); })) return;
    const size_t length = std::strlen(line);
    line[length] = '\n';
    file.write(line, length + 1);
  }
}

void write_crash_text(const zar::platform::fault &fault, const SYSTEMTIME &now) {
  zar::platform::report_file file(report_path(".crash").text());
  if (!file.is_open()) return;
  write_head(file, now);
  write_stack(file, fault);
  file.write("Dump crash end\n", std::strlen("Dump crash end\n"));
}

/// The crash filter. It only records; the fault then takes its normal course.
void report_crash(const zar::platform::fault &fault) {
  SYSTEMTIME now = {};
  run_guarded(moment, [&now] { zarGetLocalTime(&now); });
  write_minidump(&fault, now);
  write_crash_text(fault, now);
}

} // namespace

void zarHookCrashSignal() {
  zar::symbol_handler();
  program_name();
  // The first read of the local time loads the time zone, which allocates.
  SYSTEMTIME now;
  zarGetLocalTime(&now);
  zar::platform::hook_faults(report_crash);
}
