#include "zarlib/trace/trace.h"

#include "zarlib/companion/qxstl.h"
#include "zarlib/crash/stack_text.h"
#include "zarlib/frame/process_identity.h"
#include "zarlib/time/ticks.h"
#include "zarlib/trace/console.h"
#include "zarlib/trace/line_text.h"
#include "zarlib/trace/option_text.h"
#include "zarlib/trace/tracer_manager.h"

#include <cinttypes>
#include <cstdarg>
#include <cstdint>

namespace {

constexpr int debug_level = 7;
constexpr int trace_level = 9;

bool is_written(int level) {
  const int own = zarTraceLevelTest::own_level();
  return level <= (own != zar::from_system ? own : uCTraceHelper::getInstance().GetOutputLevel());
}

/// A message tagged "[W:]" or "[E:]". No blank between the parenthesis and the text: settled, callers rely on it.
std::string message_line(char letter, const char *file, int line, const char *format, va_list args) {
  const chTick now = chTimer::GetTickFromBoot();
  zar::line_text text;
  text.append(qx::format_astring(
      "[%c:] %s(%d): %u.%.6d (%d:%d)", letter, file, line, static_cast<unsigned>(now.seconds), now.microseconds,
      static_cast<int>(zarGetCurrentProcessId()), static_cast<int>(zarGetCurrentThreadId())));
  zar::append_formatted(text, format, args);
  return std::string(text.view());
}

/// Passes the message on to an output other than the console, which has already shown it.
void pass_on(const std::string &text) {
  uCTraceHelper &tracer = uCTraceHelper::getInstance();
  if (tracer.GetOutputMethod() != zar::output_console) tracer.TraceConstString(text);
}

} // namespace

// The functions on the path of a line are marked hot, here and in the other sources, so that they lie together in the
// library: little of their code stays in the processor's caches across the system call of the previous line.
[[gnu::hot]] void zarTrace(int level, const char *format, ...) {
  if (!is_written(level)) return;
  va_list args;
  va_start(args, format);
  zar::trace_formatted(nullptr, format, args);
  va_end(args);
}

void zarTrace(int level, const std::string &text) { zarModuleTrace(level, nullptr, text); }

void zarModuleTrace(int level, const char *module, const char *format, ...) {
  if (!is_written(level)) return;
  va_list args;
  va_start(args, format);
  zar::trace_formatted(module, format, args);
  va_end(args);
}

void zarModuleTrace(int level, const char *module, const std::string &text) {
  if (is_written(level)) uCTraceHelper::getInstance().TraceOutString(module, text);
}

void tracePrintf(const char *format, ...) {
  if (!is_written(debug_level)) return;
  va_list args;
  va_start(args, format);
  zar::trace_formatted(nullptr, format, args);
  va_end(args);
}

void zarTraceObject(const std::string &name, const std::string &value) {
  if (is_written(trace_level)) uCTraceHelper::getInstance().TraceOutString(nullptr, name + " = \"" + value + "\"");
}

void zarTraceObject(const std::string &name, const void *pointer) {
  if (!is_written(trace_level)) return;
  // As a number, because run-time libraries differ in how they print addresses and null.
  zarTrace(trace_level, "%s = %.8" PRIXPTR, name.c_str(), reinterpret_cast<std::uintptr_t>(pointer));
}

void zarWarningMessage(const char *file, int line, const char *format, ...) {
  va_list args;
  va_start(args, format);
  const std::string text = message_line('W', file, line, format, args);
  va_end(args);
  consoleWriteString(true, text);
  pass_on(text);
}

void zarErrorMessage(const char *file, int line, const char *format, ...) {
  va_list args;
  va_start(args, format);
  const std::string text = message_line('E', file, line, format, args);
  va_end(args);
  consoleWriteString(true, text);
  consoleWriteString(true, zarReadStack(-1));
  pass_on(text);
  zarAbort();
}
