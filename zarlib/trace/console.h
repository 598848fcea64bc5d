// The output of last resort: console and debugger lines that work before anything else of the library stands.
//
// These functions never touch the tracer, so the lowest layers report through them. They answer nothing: a line that cannot be
// written is lost. Any thread may call them at any time, also while a singleton is being built; no lock is taken, so lines
// of two threads may interleave as the run-time library's streams let them.
#pragma once

#include "zarlib/export.h"

#include <cstdarg>
#include <string>

/// Writes a line to the console and, where that is the place to look, to the debugger.
///
/// With a usable standard output the text, up to its first NUL byte, and a line feed go to stderr or stdout. With a debugger
/// attached, or without a console, the text also goes to the debugger channel (OutputDebugString on Windows, syslog at
/// LOG_DEBUG on Linux). There, a text of more than 8 bytes that starts like "[W:] M:" loses its first 5 bytes when a debugger
/// is attached. Both facts are read once per process, at the first call.
/// @param error  true writes to stderr, false to stdout.
ZAR_API void consoleWriteString(bool error, const std::string &text);

/// Formats and writes as consoleWriteString() does.
/// REQUIRES: the text needs fewer than 4096 bytes; what is longer is cut there.
ZAR_API void consolePrintf(bool error, const char *format, ...) ZAR_PRINTF(2, 3);

/// Formats a text of any length and writes it to stdout, without prefix and without a level test.
ZAR_API void simpTRACE(const char *format, ...) ZAR_PRINTF(1, 2);

/// simpTRACE() under another name.
ZAR_API void zarOutputDebugString(const char *format, ...) ZAR_PRINTF(1, 2);

/// The library's report of a misuse: "[W:] seconds.microseconds (process:thread) text" on stderr.
/// The line is cut at its first NUL byte.
ZAR_API void zarOutputWarningString(const char *format, ...) ZAR_PRINTF(1, 2);

/// Formats into a buffer of `size` characters; always terminated when `size` is above 0.
/// @return The length that the whole text needs, without its end; -1 on failure.
ZAR_API int chVsprintf(char *buffer, int size, const char *format, va_list args);

/// The wide form. @return The length written; -1 on failure, and also when the text does not fit: then the buffer holds what
/// fitted, terminated.
ZAR_API int chVsprintf(wchar_t *buffer, int size, const wchar_t *format, va_list args);
