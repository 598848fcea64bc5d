// Saying something at a level: zarTrace and its family.
//
//     zarTrace(5, "listening on port %d", port);                    // [D:Who?+4212:6380] 07-14 09:05:33.021 18211.004512 listening ...
//     zarModuleTrace(3, "M:net", "connection lost: %s", reason);    // [M:net+4212:6380] 07-14 ...
//     zarTrace(7, line);                                            // a std::string is never taken as a format
//
// A line is written when its level is not above the level in force, which is 2147483647 unless the environment variables `trace` and
// `systrace`, or uCTraceHelper, say otherwise (tracer_manager.h). Levels in use: 3 error, 4 warning, 5 notice, 7 debug, 9 trace.
//
// Every line starts with "[module+process:thread] MM-DD hh:mm:ss.mmm seconds.microseconds ": local time, then the time since the
// machine started.
//
// Any thread may call these functions at any time, in static constructors and destructors too; the first call of a process builds
// the tracer. They answer nothing: a line that cannot be delivered is lost. A line below the level in force costs two
// loads and a comparison; nothing is formatted and nothing allocated for it, though its arguments are evaluated.
#pragma once

#include "zarlib/export.h"

#include <string>

/// Writes a line of the module "D:Who?".
ZAR_API void zarTrace(int level, const char *format, ...) ZAR_PRINTF(2, 3);
ZAR_API void zarTrace(int level, const std::string &text);

/// Writes a line of a module, by convention a letter, a colon and a name; null or empty means "D:Who?".
ZAR_API void zarModuleTrace(int level, const char *module, const char *format, ...) ZAR_PRINTF(3, 4);
ZAR_API void zarModuleTrace(int level, const char *module, const std::string &text);

/// zarTrace() at level 7.
extern "C" ZAR_API void tracePrintf(const char *format, ...) ZAR_PRINTF(1, 2);

/// Writes name = "value" at level 9. Beware of two literals: a `const char *` as the value is taken for a pointer, below.
ZAR_API void zarTraceObject(const std::string &name, const std::string &value);

/// Writes name = address at level 9, in upper-case hexadecimal digits without a prefix, at least 8 of them: null is 00000000.
ZAR_API void zarTraceObject(const std::string &name, const void *pointer);

/// A warning, whatever the level in force: "[W:] file(line): seconds.microseconds (process:thread)", and the message right behind
/// it, to stderr; where the output in force is neither the console nor none, the same line goes there too, without a prefix.
ZAR_API void zarWarningMessage(const char *file, int line, const char *format, ...) ZAR_PRINTF(3, 4);

/// The last words of a process: as zarWarningMessage() with "[E:]", followed on stderr by the stack of the caller; then the
/// process is aborted.
[[noreturn]] ZAR_API void zarErrorMessage(const char *file, int line, const char *format, ...) ZAR_PRINTF(3, 4);

#include "zarlib/trace/level_test.h"
