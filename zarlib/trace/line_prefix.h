// The beginning of a trace line.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <string>

namespace zar {

/// Appends "[module+process:thread] MM-DD hh:mm:ss.mmm seconds.microseconds ". A null or empty module is "D:Who?".
/// @param text_size  How many bytes are to follow; room is made for them at once.
void append_line_prefix(std::string &line, const char *module, size_t text_size);

/// Appends a formatted text of any length, and nothing for a format that cannot be used.
void append_formatted(std::string &line, const char *format, va_list args);

/// What append_formatted() tries first; most texts are shorter.
constexpr size_t usual_text = 256;

} // namespace zar
