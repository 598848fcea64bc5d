// Parsing the environment variables `trace` and `systrace`, and access to the words of an option.
#pragma once

#include "zarlib/trace/output_option.h"

class chFileTrace;

namespace zar {

/// In a process option: the system option decides.
constexpr int from_system = -1;

enum output_method : int { output_none = 0, output_console = 1, output_file = 2, output_store = 3 };

/// Options lie in a block and are read without a lock, so their words are loaded and stored with relaxed atomics.
int load_word(const int &word);
void store_word(int &word, int value);

/// Parses "level:output:file:sizeKB:count" into `option`.
///
/// Empty fields are dropped. A null or empty text, and a missing field, change nothing. The level is decimal, as read
/// by qx::string_to_int(). The output is null, stdout, console, log, share or system, matched exactly; any other word
/// changes nothing. With "log" and a file trace, the remaining fields open it, missing ones as empty or 0.
void read_option_text(const char *text, TraceOutputOption &option, chFileTrace *file);

} // namespace zar
