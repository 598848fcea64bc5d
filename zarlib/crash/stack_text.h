// The calling thread's stack as text.
//
// One line per function, the caller of the function below first. A line reads "file(line): name", or " name" without line
// information, or a single blank where nothing is known. With a debugger attached at the first call, or with an empty environment
// variable PROCESSOR_ARCHITECTURE, there are no lines.
#pragma once

#include "zarlib/export.h"

#include <string>

/// @param depth  One more than the number of lines wanted, compared as an unsigned number: 0 and 1 give nothing, 2 gives the
///               caller of this function, -1 gives all there are, at most 255.
/// @return The lines, each ended by "\r\n".
///
/// Any thread. The first call reads the symbols of the modules, which may take seconds for large ones; names already found are
/// kept, and cost a look-up under a lock. Frames beyond `depth` are not walked.
ZAR_API std::string zarReadStack(int depth);

/// Writes the same lines to the console, on the error stream, as consoleWriteString() does.
ZAR_API void zarDumpStack(int depth);
