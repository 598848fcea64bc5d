#include "zarlib/trace/console.h"

#include "zarlib/companion/qxstl.h"
#include "zarlib/platform/console.h"
#include "zarlib/platform/thread.h"
#include "zarlib/time/ticks.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>

namespace {

// "[W:] " of "[W:] M:...": a one-letter tag and a blank, before a module tag.
constexpr size_t tag_length = 5;

bool starts_with_tag(const std::string &text) {
  return text.size() > 8 && text[0] == '[' && text[2] == ':' && text[3] == ']' && text[4] == ' ' && text[6] == ':';
}

void write_to_debugger(const std::string &text) {
  zar::platform::write_to_debugger(text, qx::string_is_ascii_string(text));
}

std::string formatted(const char *format, va_list args) {
  std::string text;
  qx::format_string_v(text, format, args);
  return text;
}

} // namespace

void consoleWriteString(bool error, const std::string &text) {
  static const bool has_console = zar::platform::has_console();
  if (has_console) std::fprintf(error ? stderr : stdout, "%s\n", text.c_str());

  static const bool debugged = zar::platform::is_debugged();
  if (!debugged && has_console) return;
  if (debugged && starts_with_tag(text))
    write_to_debugger(text.substr(tag_length));
  else
    write_to_debugger(text);
}

void consolePrintf(bool error, const char *format, ...) {
  char buffer[4096];
  va_list args;
  va_start(args, format);
  const int length = chVsprintf(buffer, sizeof buffer, format, args);
  va_end(args);
  const int stored = std::clamp(length, 0, static_cast<int>(sizeof buffer) - 1);
  consoleWriteString(error, std::string(buffer, static_cast<size_t>(stored)));
}

void simpTRACE(const char *format, ...) {
  va_list args;
  va_start(args, format);
  const std::string text = formatted(format, args);
  va_end(args);
  consoleWriteString(false, text);
}

void zarOutputDebugString(const char *format, ...) {
  va_list args;
  va_start(args, format);
  const std::string text = formatted(format, args);
  va_end(args);
  consoleWriteString(false, text);
}

void zarOutputWarningString(const char *format, ...) {
  va_list args;
  va_start(args, format);
  const std::string message = formatted(format, args);
  va_end(args);
  const chTick now = chTimer::GetTickFromBoot();
  const std::string line = qx::format_astring("[W:] %u.%.6d (%d:%d) ", static_cast<unsigned>(now.seconds),
                                              now.microseconds, static_cast<int>(zar::platform::current_process_id()),
                                              static_cast<int>(zar::platform::current_thread_id()));
  // Ends at the first NUL, as every line written here does.
  consoleWriteString(true, line + message.c_str());
}

int chVsprintf(char *buffer, int size, const char *format, va_list args) {
  return std::max(std::vsnprintf(buffer, static_cast<size_t>(std::max(size, 0)), format, args), -1);
}

int chVsprintf(wchar_t *buffer, int size, const wchar_t *format, va_list args) {
  if (size <= 0) return -1;
  const int length = std::vswprintf(buffer, static_cast<size_t>(size), format, args);
  // Run-time libraries differ in what they return, and leave in the buffer, if the text does not fit.
  if (length >= 0 && length < size) return length;
  buffer[size - 1] = 0;
  return -1;
}
