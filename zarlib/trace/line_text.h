// The text of a trace line: the prefix and the formatted message.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace zar {

/// A line under construction. Lines of usual length fit in the object itself and cost no allocation.
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

  /// @return The end of the line, with room for `bytes` more; end_at() sets the new end once they are written.
  char *room(size_t bytes) {
    if (static_cast<size_t>(m_limit - m_end) < bytes) grow(bytes);
    return m_end;
  }
  void end_at(char *end) { m_end = end; }

  /// Truncates the line to an earlier length.
  void shrink(size_t size) { m_end = m_start + size; }

private:
  void grow(size_t bytes);

  char m_usual[512];
  char *m_start = m_usual, *m_end = m_usual, *m_limit = m_usual + sizeof m_usual;
  std::unique_ptr<char[]> m_large;
};

/// Appends "[module+process:thread] MM-DD hh:mm:ss.mmm seconds.microseconds ". A null or empty module is "D:Who?".
void append_line_prefix(line_text &line, const char *module);

/// Appends a text of any length, formatted as by vsnprintf(); nothing if that fails. %d, %i and %u (also with l and
/// ll), %s and %c without flags, width or precision are formatted here, several times faster; from the first other
/// conversion on, the run-time library does the rest.
void append_formatted(line_text &line, const char *format, va_list args);

} // namespace zar
