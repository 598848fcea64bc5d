#include "zarlib/trace/line_prefix.h"

#include "zarlib/frame/process_identity.h"
#include "zarlib/time/ticks.h"

#include <charconv>
#include <cstdio>

namespace {

/// Writes characters one behind the other; a line is too frequent for a format to be read each time.
class writer {
public:
  explicit writer(char *at) : m_at(at) {}

  writer &put(char c) {
    *m_at++ = c;
    return *this;
  }

  template <class Number>
  writer &number(Number value) {
    constexpr int most_digits = 20;
    m_at = std::to_chars(m_at, m_at + most_digits, value).ptr;
    return *this;
  }

  /// The last `digits` digits, with leading zeros.
  writer &padded(unsigned value, int digits) {
    for (int i = digits - 1; i >= 0; --i, value /= 10) m_at[i] = static_cast<char>('0' + value % 10);
    m_at += digits;
    return *this;
  }

  char *end() const { return m_at; }

private:
  char *m_at;
};

} // namespace

namespace zar {

void append_line_prefix(std::string &line, const char *module, size_t text_size) {
  const chTick tick = chTimer::GetTickFromBoot();
  SYSTEMTIME time;
  zarGetLocalTime(&time);

  char text[128];
  writer out(text);
  out.put('+')
      .number(static_cast<int>(zarGetCurrentProcessId()))
      .put(':')
      .number(static_cast<int>(zarGetCurrentThreadId()));
  out.put(']').put(' ').padded(time.wMonth, 2).put('-').padded(time.wDay, 2);
  out.put(' ').padded(time.wHour, 2).put(':').padded(time.wMinute, 2).put(':').padded(time.wSecond, 2);
  out.put('.').padded(time.wMilliseconds, 3);
  out.put(' ')
      .number(static_cast<unsigned>(tick.seconds))
      .put('.')
      .padded(static_cast<unsigned>(tick.microseconds), 6)
      .put(' ');

  constexpr size_t usual_prefix = 96;
  line.reserve(line.size() + usual_prefix + text_size);
  line += '[';
  line += module && *module ? module : "D:Who?";
  line.append(text, out.end());
}

void append_formatted(std::string &line, const char *format, va_list args) {
  const size_t start = line.size();
  va_list again;
  va_copy(again, args);
  line.resize(start + usual_text);
  const int length = std::vsnprintf(line.data() + start, usual_text + 1, format, args);
  line.resize(start + static_cast<size_t>(length > 0 ? length : 0));
  if (length > static_cast<int>(usual_text))
    std::vsnprintf(line.data() + start, static_cast<size_t>(length) + 1, format, again);
  va_end(again);
}

} // namespace zar
