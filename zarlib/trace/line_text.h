// The text of a trace line: its prefix, and what is formatted behind it.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace zar {

/// A line under construction. Usual ones lie in the object itself, so they cost no allocation.
class line_text {
public:
  line_text() = default;
  line_text(const line_text &) = delete;
  line_text &operator=(const line_text &) = delete;

  std::string_view view() const { return {m_start, size()}; }
  size_t size() const { return static_cast<size_t>(m_end - m_start); }

  void append(std::string_view text) {
    std::memcpy(room(text.size()), text.data(), text.size());
    m_end += text.size();
  }

  void put(char c) {
    *room(1) = c;
    ++m_end;
  }

  /// @return The end, with room for so many bytes behind it; end_at() tells how far they were used.
  char *room(size_t bytes) {
    if (static_cast<size_t>(m_limit - m_end) < bytes) grow(bytes);
    return m_end;
  }
  void end_at(char *end) { m_end = end; }

  /// Cuts the line back to a length that it had.
  void shrink(size_t size) { m_end = m_start + size; }

private:
  void grow(size_t bytes);

  char m_usual[512];
  char *m_start = m_usual, *m_end = m_usual, *m_limit = m_usual + sizeof m_usual;
  std::unique_ptr<char[]> m_large;
};

/// Appends "[module+process:thread] MM-DD hh:mm:ss.mmm seconds.microseconds ". A null or empty module is "D:Who?".
void append_line_prefix(line_text &line, const char *module);

/// Appends a text of any length formatted as vsnprintf() does, and nothing when that fails.
/// %d, %i and %u, with l and ll too, %s and %c without flags, width or precision are done here, several times as fast; from the
/// first other conversion on the run-time library does the rest.
void append_formatted(line_text &line, const char *format, va_list args);

} // namespace zar
