#include "zarlib/trace/line_text.h"

#include "zarlib/frame/process_identity.h"
#include "zarlib/time/ticks.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <utility>

namespace {

using zar::line_text;

constexpr int most_digits = 20;

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

/// A started list that functions can take from in turn.
struct argument_list {
  explicit argument_list(va_list started) { va_copy(list, started); }
  argument_list(const argument_list &) = delete;
  argument_list &operator=(const argument_list &) = delete;
  ~argument_list() { va_end(list); }

  va_list list;
};

template <class Number>
void append_number(line_text &line, Number value) {
  line.end_at(writer(line.room(most_digits)).number(value).end());
}

/// Appends one plain conversion, whose text starts behind the per cent sign, and moves behind it. @return Whether it was one.
bool append_plain(line_text &line, const char *&conversion, argument_list &args) {
  const char *at = conversion;
  int longs = 0;
  for (; *at == 'l' && longs < 2; ++at) ++longs;
  const char letter = *at++;
  if (letter == 'd' || letter == 'i') {
    append_number(line, longs == 0   ? va_arg(args.list, int)
                        : longs == 1 ? va_arg(args.list, long)
                                     : va_arg(args.list, long long));
  } else if (letter == 'u') {
    append_number(line, longs == 0   ? va_arg(args.list, unsigned)
                        : longs == 1 ? va_arg(args.list, unsigned long)
                                     : va_arg(args.list, unsigned long long));
  } else if (longs > 0) {
    return false;
  } else if (letter == 's') {
    const char *const text = va_arg(args.list, const char *);
    line.append(text ? text : "(null)");
  } else if (letter == 'c') {
    line.put(static_cast<char>(va_arg(args.list, int)));
  } else if (letter == '%') {
    line.put('%');
  } else {
    return false;
  }
  conversion = at;
  return true;
}

/// @return Whether the format could be used.
bool append_by_library(line_text &line, const char *format, va_list args) {
  constexpr size_t usual_size = 128;
  argument_list again(args);
  const int length = std::vsnprintf(line.room(usual_size), usual_size, format, args);
  if (length < 0) return false;
  const auto size = static_cast<size_t>(length);
  // The room for the terminating NUL is not part of the line.
  if (size >= usual_size) std::vsnprintf(line.room(size + 1), size + 1, format, again.list);
  line.end_at(line.room(0) + size);
  return true;
}

} // namespace

namespace zar {

void line_text::grow(size_t bytes) {
  const size_t used = size(), capacity = 2 * (used + bytes);
  auto larger = std::make_unique<char[]>(capacity);
  std::memcpy(larger.get(), m_start, used);
  m_large = std::move(larger);
  m_start = m_large.get();
  m_end = m_start + used;
  m_limit = m_start + capacity;
}

void append_line_prefix(line_text &line, const char *module) {
  const chTick tick = chTimer::GetTickFromBoot();
  SYSTEMTIME time;
  zarGetLocalTime(&time);

  line.append("[");
  line.append(module && *module ? module : "D:Who?");
  constexpr size_t most_bytes = 96;
  writer out(line.room(most_bytes));
  out.put('+').number(static_cast<int>(zarGetCurrentProcessId()));
  out.put(':').number(static_cast<int>(zarGetCurrentThreadId())).put(']');
  out.put(' ').padded(time.wMonth, 2).put('-').padded(time.wDay, 2);
  out.put(' ').padded(time.wHour, 2).put(':').padded(time.wMinute, 2).put(':').padded(time.wSecond, 2);
  out.put('.').padded(time.wMilliseconds, 3);
  out.put(' ').number(static_cast<unsigned>(tick.seconds));
  out.put('.').padded(static_cast<unsigned>(tick.microseconds), 6).put(' ');
  line.end_at(out.end());
}

void append_formatted(line_text &line, const char *format, va_list args) {
  const size_t start = line.size();
  argument_list rest(args);
  while (*format) {
    if (*format != '%') {
      line.put(*format++);
      continue;
    }
    const char *const conversion = format++;
    if (append_plain(line, format, rest)) continue;
    if (!append_by_library(line, conversion, rest.list)) line.shrink(start);
    return;
  }
}

} // namespace zar
