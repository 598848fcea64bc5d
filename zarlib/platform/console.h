// The console of the process and the channel to a debugger.
#pragma once

#include <string>

namespace zar::platform {

/// Whether standard output leads anywhere.
bool has_console();

/// Whether a debugger is attached right now.
bool is_debugged();

/// Sends one message to the debugger's channel, followed by a line end.
/// @param ascii  Whether every byte is below 128; otherwise the bytes are UTF-8.
void write_to_debugger(const std::string &text, bool ascii);

} // namespace zar::platform
