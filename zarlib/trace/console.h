// Output of last resort: console and debugger lines that work before the rest of the library is initialised.
//
// These functions never touch the tracer, so the lowest layers report through them. They return no status: a line that
// cannot be written is lost. Any thread may call them at any time, even while a singleton is being constructed. They
// take no lock, so lines of different threads may interleave as far as the run-time library's streams allow.
#pragma once

#include "zarlib/export.h"

#include <cstdarg>
#include <string>

/// Writes a line to the console, and to the debugger if one is attached or there is no console.
///
/// If standard output is usable, the text, up to its first NUL byte, and a line feed go to stderr or stdout. If a
/// debugger is attached, or there is no console, the text also goes to the debugger channel (OutputDebugString on
/// Windows, syslog at LOG_DEBUG on Linux). With a debugger attached, a text of more than 8 bytes of the form "[W:] M:"
/// loses its first 5 bytes there. Both conditions are evaluated once per process, at the first call.
/// @param error  true writes to stderr, false to stdout.
ZAR_API void consoleWriteString(bool error, const std::string &text);

/// Formats a text and writes it as consoleWriteString() does.
/// REQUIRES: fewer than 4096 bytes of text; a longer one is truncated to 4095.
ZAR_API void consolePrintf(bool error, const char *format, ...) ZAR_PRINTF(2, 3);

/// Formats a text of any length and writes it to stdout, without a prefix or a level check.
ZAR_API void simpTRACE(const char *format, ...) ZAR_PRINTF(1, 2);

/// Same as simpTRACE().
ZAR_API void zarOutputDebugString(const char *format, ...) ZAR_PRINTF(1, 2);

/// The library's own misuse warning: "[W:] seconds.microseconds (process:thread) text" on stderr.
/// The line ends at its first NUL byte.
ZAR_API void zarOutputWarningString(const char *format, ...) ZAR_PRINTF(1, 2);

/// Formats into a buffer of `size` characters, always NUL-terminated if `size` is above 0.
/// @return The length of the full text without the terminator; -1 on failure.
ZAR_API int chVsprintf(char *buffer, int size, const char *format, va_list args);

/// The wide form. @return The length written; -1 on failure, and also if the text does not fit: the buffer then holds
/// the truncated text, NUL-terminated.
ZAR_API int chVsprintf(wchar_t *buffer, int size, const wchar_t *format, va_list args);
