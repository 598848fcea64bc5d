#include "zarlib/time/calendar.h"

#include "zarlib/frame/process_identity.h"
#include "zarlib/platform/clock.h"

#include <ctime>

namespace {

constexpr size_t text_size = 128; // with the terminating NUL
constexpr chTime start_of_1970(719560, 0);

/// A text of fewer than text_size bytes.
class short_text {
public:
  bool fits() const { return m_size < text_size; }
  std::string str() const { return std::string(m_bytes, m_size); }

  void put(char c) {
    if (fits()) m_bytes[m_size++] = c;
  }
  void put_two(int number) {
    put(static_cast<char>('0' + number / 10));
    put(static_cast<char>('0' + number % 10));
  }

private:
  char m_bytes[text_size];
  size_t m_size = 0;
};

/// Handles formats whose conversions are the same in every locale and run-time library.
/// @return false when strftime() is needed: for any other format, or a time not normalised or
///         without a four-digit year.
bool write_plain(const chTime &time, const char *format, short_text &text) {
  const zar::calendar_date date = zar::date_of(time.day);
  if (date.year < 1000 || date.year > 9999 || time.milliseconds < 0 || time.milliseconds >= 86400000) return false;
  for (const char *c = format; *c; ++c) {
    if (*c & 0x80) return false;
    if (*c != '%') {
      text.put(*c);
      continue;
    }
    switch (*++c) {
    case 'Y':
      text.put_two(date.year / 100);
      text.put_two(date.year % 100);
      break;
    case 'm':
      text.put_two(date.month);
      break;
    case 'd':
      text.put_two(date.day);
      break;
    case 'H':
      text.put_two(time.GetHour());
      break;
    case 'M':
      text.put_two(time.GetMinute());
      break;
    case 'S':
      text.put_two(time.GetSecond());
      break;
    case '%':
      text.put('%');
      break;
    default:
      return false;
    }
  }
  return true;
}

tm broken_down(const chTime &time) {
  const zar::calendar_date date = zar::date_of(time.day);
  tm parts = {};
  parts.tm_sec = time.GetSecond();
  parts.tm_min = time.GetMinute();
  parts.tm_hour = time.GetHour();
  parts.tm_mday = date.day;
  parts.tm_mon = date.month - 1;
  parts.tm_year = date.year - 1900;
  parts.tm_wday = time.GetDayOfWeek();
  parts.tm_yday = zar::wrapping_subtract(time.day, zar::day_number_of(date.year, 1, 1));
  return parts;
}

} // namespace

const chTime &chTime::time1970() { return start_of_1970; }

std::string chTime::Format(const char *format) const {
  short_text text;
  if (write_plain(*this, format, text)) return text.fits() ? text.str() : std::string();

  char bytes[text_size] = {};
  const tm parts = broken_down(*this);
  return strftime(bytes, sizeof bytes, format, &parts) ? bytes : std::string();
}

chTime chTime::getSystemTime() {
  const SYSTEMTIME now = zar::platform::read_system_time();
  return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds};
}

bool chTime::setSystemTime(const chTime &time) {
  // Settled, callers rely on it: the days since 1970 are read as if they were a day number.
  const chTime since = time - time1970();
  const zar::calendar_date date = zar::date_of(since.day);
  const auto word = [](int value) { return static_cast<unsigned short>(value); };
  SYSTEMTIME words = {};
  words.wYear = word(date.year);
  words.wMonth = word(date.month);
  words.wDay = word(date.day);
  words.wHour = word(since.GetHour());
  words.wMinute = word(since.GetMinute());
  words.wSecond = word(since.GetSecond());
  words.wMilliseconds = word(since.GetMillsSecond());
  return zar::platform::set_system_time(words);
}

chLocalTime::chLocalTime() { zarGetLocalTime(this); }
