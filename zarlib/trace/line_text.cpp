#include "zarlib/trace/line_text.h"

#include "zarlib/frame/process_identity.h"
#include "zarlib/platform/clock.h"

#include <array>
#include <bit>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <utility>

namespace {

using zar::line_text;
using zar::platform::moment;

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
  // 1233 / 4096 approximates the decimal logarithm of 2 closely enough for 32 bits.
  const int least = std::bit_width(value | 1) * 1233 >> 12;
  return least + (value >= powers_of_ten[least] ? 1 : 0);
}

/// Writes characters in sequence; lines are too frequent to parse a format string each time.
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

  /// The common types, without a call.
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

  /// A number below 100 as two digits.
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

/// The part of the prefix that a thread's lines share within a millisecond of the wall clock and a second since boot.
struct common_words {
  static constexpr size_t most_bytes = 64;

  bool holds_at(const moment &now) const {
    return wall_milliseconds == now.wall_milliseconds && boot_seconds == now.boot.seconds &&
           process == zarGetCurrentProcessId();
  }

  void renew(const moment &now) {
    const SYSTEMTIME time = zar::platform::local_time_of(now.wall_milliseconds);
    const unsigned long self = zarGetCurrentProcessId();
    writer out(text);
    out.put('+').number(static_cast<int>(self)).put(':').number(static_cast<int>(zarGetCurrentThreadId())).put(']');
    out.put(' ').pair(time.wMonth).put('-').pair(time.wDay);
    out.put(' ').pair(time.wHour).put(':').pair(time.wMinute).put(':').pair(time.wSecond);
    out.put('.').number(time.wMilliseconds / 100u).pair(time.wMilliseconds % 100);
    out.put(' ').number(static_cast<unsigned>(now.boot.seconds)).put('.');
    size = static_cast<size_t>(out.end() - text);
    wall_milliseconds = now.wall_milliseconds;
    boot_seconds = now.boot.seconds;
    process = self;
  }

  long long wall_milliseconds, boot_seconds;
  unsigned long process; ///< a forked child has another
  size_t size;
  char text[most_bytes]; ///< "+process:thread] MM-DD hh:mm:ss.mmm seconds."
};

thread_local constinit common_words t_common = {};

/// A copy of a started va_list that several functions can consume in turn.
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

constexpr int step = 64;

/// Appends at most `step` bytes of a text, copying as it scans, since most texts are short. @return Where it stopped.
template <class IsEnd>
const char *append_step(line_text &line, const char *text, IsEnd is_end) {
  char *at = line.room(step), *const limit = at + step;
  while (at != limit && !is_end(*text)) *at++ = *text++;
  line.end_at(at);
  return text;
}

void append_text(line_text &line, const char *text) {
  text = append_step(line, text, [](char c) { return c == 0; });
  if (*text) line.append(text);
}

/// Appends the literal text before the next conversion. @return The conversion, or the end.
const char *append_literal(line_text &line, const char *text) {
  constexpr auto is_end = [](char c) { return c == 0 || c == '%'; };
  do text = append_step(line, text, is_end);
  while (!is_end(*text));
  return text;
}

/// Appends the plain conversion that follows a per cent sign and advances past it. @return Whether it was plain.
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
    append_text(line, text ? text : "(null)");
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

/// @return Whether vsnprintf() accepted the format.
bool append_by_library(line_text &line, const char *format, va_list args) {
  constexpr size_t usual_size = 128;
  argument_list again(args);
  const int length = std::vsnprintf(line.room(usual_size), usual_size, format, args);
  if (length < 0) return false;
  const auto size = static_cast<size_t>(length);
  // The terminating NUL needs room but is not part of the line.
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

[[gnu::hot]] void append_line_prefix(line_text &line, const char *module) {
  const platform::moment now = platform::read_moment();
  if (!t_common.holds_at(now)) t_common.renew(now);
  if (module && *module) {
    line.put('[');
    line.append(module);
  } else {
    line.append("[D:Who?");
  }
  constexpr size_t fraction = 7;
  char *const at = line.room(common_words::most_bytes + fraction);
  std::memcpy(at, t_common.text, common_words::most_bytes); // fixed length, hence no call
  writer out(at + t_common.size);
  const auto microseconds = static_cast<unsigned>(now.boot.microseconds);
  out.pair(microseconds / 10000).pair(microseconds / 100 % 100).pair(microseconds % 100).put(' ');
  line.end_at(out.end());
}

[[gnu::hot]] void append_formatted(line_text &line, const char *format, va_list args) {
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
