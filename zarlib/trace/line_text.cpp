#include "zarlib/trace/line_text.h"

#include "zarlib/frame/process_identity.h"
#include "zarlib/time/ticks.h"

#include <array>
#include <bit>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <utility>

namespace {

using zar::line_text;

constexpr int most_digits = 20;

constexpr auto digit_pairs = [] {
  std::array<char, 200> text{};
  for (size_t i = 0; i < 100; ++i) {
    text[2 * i] = static_cast<char>('0' + i / 10);
    text[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return text;
}();

constexpr unsigned powers_of_ten[] = {0, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};

int digits_of(unsigned value) {
  // 1233 / 4096 is the logarithm of 2 to the base of 10, near enough for 32 bits.
  const int least = std::bit_width(value | 1) * 1233 >> 12;
  return least + (value >= powers_of_ten[least] ? 1 : 0);
}

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

  /// The usual ones, without a call.
  writer &number(unsigned value) {
    char *at = m_at += digits_of(value);
    for (; value >= 100; value /= 100) copy_pair(at -= 2, value % 100);
    if (value >= 10)
      copy_pair(at - 2, value);
    else
      at[-1] = static_cast<char>('0' + value);
    return *this;
  }
  writer &number(int value) {
    if (value < 0) put('-');
    return number(value < 0 ? 0u - static_cast<unsigned>(value) : static_cast<unsigned>(value));
  }

  /// A number below 100 by two digits.
  writer &pair(unsigned value) {
    copy_pair(m_at, value);
    m_at += 2;
    return *this;
  }

  char *end() const { return m_at; }

private:
  static void copy_pair(char *to, unsigned value) { std::memcpy(to, &digit_pairs[2 * value], 2); }

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
    if (longs == 0)
      append_number(line, va_arg(args.list, int));
    else
      append_number(line, longs == 1 ? va_arg(args.list, long) : va_arg(args.list, long long));
  } else if (letter == 'u') {
    if (longs == 0)
      append_number(line, va_arg(args.list, unsigned));
    else
      append_number(line, longs == 1 ? va_arg(args.list, unsigned long) : va_arg(args.list, unsigned long long));
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

/// Appends what stands in front of the next conversion, which is short as a rule and is copied as it is read.
/// @return Where that conversion is, or the end.
const char *append_literal(line_text &line, const char *text) {
  constexpr int step = 64;
  for (;;) {
    char *at = line.room(step), *const limit = at + step;
    while (at != limit && *text && *text != '%') *at++ = *text++;
    line.end_at(at);
    if (at != limit) return text;
  }
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

  if (module && *module) {
    line.put('[');
    line.append(module);
    line.put('+');
  } else {
    line.append("[D:Who?+");
  }
  constexpr size_t most_bytes = 96;
  writer out(line.room(most_bytes));
  out.number(static_cast<int>(zarGetCurrentProcessId()));
  out.put(':').number(static_cast<int>(zarGetCurrentThreadId())).put(']');
  out.put(' ').pair(time.wMonth).put('-').pair(time.wDay);
  out.put(' ').pair(time.wHour).put(':').pair(time.wMinute).put(':').pair(time.wSecond);
  out.put('.').number(time.wMilliseconds / 100u).pair(time.wMilliseconds % 100);
  out.put(' ').number(static_cast<unsigned>(tick.seconds));
  const auto microseconds = static_cast<unsigned>(tick.microseconds);
  out.put('.').pair(microseconds / 10000).pair(microseconds / 100 % 100).pair(microseconds % 100).put(' ');
  line.end_at(out.end());
}

void append_formatted(line_text &line, const char *format, va_list args) {
  const size_t start = line.size();
  argument_list rest(args);
  for (;;) {
    format = append_literal(line, format);
    if (!*format) return;
    const char *const conversion = format++;
    if (append_plain(line, format, rest)) continue;
    if (!append_by_library(line, conversion, rest.list)) line.shrink(start);
    return;
  }
}

} // namespace zar
