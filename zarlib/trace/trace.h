// Trace lines with a level: zarTrace and its family.
//
//     zarTrace(5, "listening on port %d", port);                    // [D:Who?+4212:6380] 07-14 09:05:33.021 18211.004512 listening ...
//     zarModuleTrace(3, "M:net", "connection lost: %s", reason);    // [M:net+4212:6380] 07-14 ...
//     zarTrace(7, line);                                            // a std::string is never taken as a format
//
// A line is written if its level is not above the level in force, which is 2147483647 unless the environment variables
// `trace` and `systrace`, or uCTraceHelper, set another (tracer_manager.h). Levels in use: 3 error, 4 warning, 5
// notice, 7 debug, 9 trace.
//
// Every line starts with "[module+process:thread] MM-DD hh:mm:ss.mmm seconds.microseconds ": local time, then the time
// since the machine started.
//
// Any thread may call these functions at any time, including from static constructors and destructors; the first call
// of a process constructs the tracer. They return no status: a line that cannot be delivered is lost. A line above the
// level in force costs two loads and a comparison; nothing is formatted or allocated for it, but its arguments are
// evaluated.
#pragma once

#include "zarlib/export.h"

#include <string>

/// Writes a line for the module "D:Who?".
ZAR_API void zarTrace(int level, const char *format, ...) ZAR_PRINTF(2, 3);
ZAR_API void zarTrace(int level, const std::string &text);

/// Writes a line for a module, by convention a letter, a colon and a name; null or empty means "D:Who?".
ZAR_API void zarModuleTrace(int level, const char *module, const char *format, ...) ZAR_PRINTF(3, 4);
ZAR_API void zarModuleTrace(int level, const char *module, const std::string &text);

/// zarTrace() at level 7.
extern "C" ZAR_API void tracePrintf(const char *format, ...) ZAR_PRINTF(1, 2);

/// Writes name = "value" at level 9. A `const char *` value, such as a literal, selects the pointer overload below.
ZAR_API void zarTraceObject(const std::string &name, const std::string &value);

/// Writes name = address at level 9, in 8 or more upper-case hexadecimal digits without a prefix: null is 00000000.
ZAR_API void zarTraceObject(const std::string &name, const void *pointer);

/// A warning, regardless of the level in force: "[W:] file(line): seconds.microseconds (process:thread)", directly
/// followed by the message, to stderr; if the output in force is neither the console nor none, the same line goes there
/// too, without a prefix.
ZAR_API void zarWarningMessage(const char *file, int line, const char *format, ...) ZAR_PRINTF(3, 4);

/// A fatal error: as zarWarningMessage() with "[E:]", followed on stderr by the calling thread's stack; then the
/// process is aborted.
[[noreturn]] ZAR_API void zarErrorMessage(const char *file, int line, const char *format, ...) ZAR_PRINTF(3, 4);

#include "zarlib/trace/level_test.h"
