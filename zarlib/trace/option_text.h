// The text of the environment variables `trace` and `systrace`, and the words of an option.
#pragma once

#include "zarlib/trace/output_option.h"

class chFileTrace;

namespace zar {

/// In an option of a process: the system's option decides.
constexpr int from_system = -1;

enum output_method : int { output_none = 0, output_console = 1, output_file = 2, output_store = 3 };

/// Options lie in a block and are read without a lock, so their words are loaded and stored as atomic ones, relaxed.
int load_word(const int &word);
void store_word(int &word, int value);

/// Reads "level:output:file:sizeKB:count" into `option`.
///
/// Fields are what stands between separators; empty ones do not count. A null or empty text, and a missing field, change nothing.
/// The level is decimal, by qx::string_to_int(). The output is one of null, stdout, console, log, share, system, in exactly these
/// letters; any other word changes nothing. With "log" and a file trace, the rest opens it, missing fields as empty or 0.
void read_option_text(const char *text, TraceOutputOption &option, chFileTrace *file);

} // namespace zar
