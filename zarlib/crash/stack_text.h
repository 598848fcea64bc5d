// The calling thread's stack as text.
//
// One line per function, innermost first, starting with the caller of the function below. A line is "file(line): name",
// or " name" without line information, or a single blank if nothing is known. If a debugger is attached at the first
// call, or the environment variable PROCESSOR_ARCHITECTURE is set but empty, there are no lines.
#pragma once

#include "zarlib/export.h"

#include <string>

/// @param depth  One more than the number of lines wanted, taken as unsigned: 0 and 1 give nothing, 2 gives the caller
///               of this function, -1 gives all lines, at most 255.
/// @return The lines, each terminated by "\r\n".
///
/// Any thread may call it. The first call reads the symbols of the modules, which may take seconds for large ones;
/// names already found are cached and cost a look-up under a lock. Frames beyond `depth` are not walked.
ZAR_API std::string zarReadStack(int depth);

/// Writes the same lines to the console, on the error stream, as consoleWriteString() does.
ZAR_API void zarDumpStack(int depth);
