// Calendar time: chTime, a day number and the milliseconds within the day; chLocalTime, the current
// local time broken down.
#pragma once

#include "zarlib/export.h"
#include "zarlib/platform/types.h"
#include "zarlib/time/day_number.h"
#include "zarlib/time/ticks.h"
#include "zarlib/time/wrapping.h"

#include <string>

/// Short, then long English month names, each from January; the short September has four letters. For callers: the
/// library itself does not use them.
inline constexpr const char *zarMonthNames[24] = {
    "Jan",  "Feb",  "Mar",  "Apr",    "May",       "Jun",      "Jul",      "Aug",
    "Sept", "Oct",  "Nov",  "Dec",    "January",   "February", "March",    "April",
    "May",  "June", "July", "August", "September", "October",  "November", "December"};

/// A date and time of day, or a span of days and milliseconds: one class serves as both.
///
/// Day 719560 is 1 January 1970 in the proleptic Gregorian calendar; there are no time zones and no leap seconds. A
/// plain value of two words: everything but Format() and the two clock operations is inline and takes a few
/// instructions, and nothing locks.
///
/// Conversion from dates to day numbers is correct from 1 March of the year -4801 to 28 February of the year 1465073,
/// and back from day -1789597 to the greatest int. In a date given, the year before 1 is -1 (0 means the same); in a
/// date returned it is 0, preceded by -1, and so on. Outside these ranges, and for months outside 1 to 12, the result
/// is whatever the formulas of day_number.h yield.
///
/// Constructing from a day, adding and subtracting normalise: milliseconds are brought into 0 to 86399999 and whole
/// days are carried to the day, wrapping in 32 bits. The one exception is settled: milliseconds that are an exact
/// negative multiple of 86400000 become 86400000, one day lower ({5, -86400000} becomes {3, 86400000}); the total is
/// right, but comparisons see that form.
class ZAR_API chTime {
public:
  constexpr chTime() : day(0), milliseconds(0) {}

  /// Normalises.
  constexpr chTime(int days, int millis) : day(days), milliseconds(millis) {
    if (millis < 0) {
      // Settled, callers rely on it: an exact negative multiple becomes 86400000, one day lower.
      day = zar::wrapping_add(days, millis / 86400000 - 1);
      milliseconds = millis % 86400000 + 86400000;
    } else if (millis >= 86400000) {
      day = zar::wrapping_add(days, millis / 86400000);
      milliseconds = millis % 86400000;
    }
  }

  /// Neither validates nor normalises: an hour of 25 leaves more than a day of milliseconds.
  /// @param month      1 to 12.
  /// @param month_day  From 1.
  constexpr chTime(int year, int month, int month_day, int hour, int minute, int second, int millis)
      : day(zar::day_number_of(year, month, month_day)), milliseconds(milliseconds_of(hour, minute, second, millis)) {}

  /// Does not normalise.
  /// @param seconds_since_1970  Settled: only the low 32 bits count, unsigned, so times end in February 2106.
  constexpr chTime(long long seconds_since_1970, int millis) : day(0), milliseconds(0) {
    const auto seconds = static_cast<unsigned>(seconds_since_1970);
    day = day_1970 + static_cast<int>(seconds / 86400);
    milliseconds = zar::wrapping_add(static_cast<int>(seconds % 86400 * 1000), millis);
  }

  /// @return 1 January 1970, valid for the life of the process.
  static const chTime &time1970();

  constexpr chTime operator+(const chTime &other) const {
    return {zar::wrapping_add(day, other.day), zar::wrapping_add(milliseconds, other.milliseconds)};
  }
  constexpr chTime operator-(const chTime &other) const {
    return {zar::wrapping_subtract(day, other.day), zar::wrapping_subtract(milliseconds, other.milliseconds)};
  }
  constexpr chTime &operator+=(const chTime &other) { return *this = *this + other; }
  constexpr chTime &operator-=(const chTime &other) { return *this = *this - other; }

  /// Compares the days, then the milliseconds.
  constexpr bool operator==(const chTime &other) const {
    return day == other.day && milliseconds == other.milliseconds;
  }
  constexpr bool operator!=(const chTime &other) const { return !(*this == other); }
  constexpr bool operator<(const chTime &other) const {
    return day != other.day ? day < other.day : milliseconds < other.milliseconds;
  }
  constexpr bool operator>(const chTime &other) const { return other < *this; }
  constexpr bool operator<=(const chTime &other) const { return !(other < *this); }
  constexpr bool operator>=(const chTime &other) const { return !(*this < other); }

  constexpr int GetYear() const { return zar::date_of(day).year; }
  /// @return 1 to 12.
  constexpr int GetMonth() const { return zar::date_of(day).month; }
  /// @return The day of the month, 1 to 31.
  constexpr int GetDay() const { return zar::date_of(day).day; }
  /// @return 0 for Sunday to 6.
  constexpr int GetDayOfWeek() const { return (day % 7 + 9) % 7; }
  constexpr int GetHour() const { return milliseconds / 3600000; }
  constexpr int GetMinute() const { return milliseconds % 3600000 / 60000; }
  constexpr int GetSecond() const { return milliseconds / 1000 % 60; }
  constexpr int GetMillsSecond() const { return milliseconds % 1000; }

  /// @return Whole seconds since day 0, or the length of a span; negative values modulo 2^64.
  constexpr unsigned long long toSeconds() const {
    return static_cast<unsigned long long>(day * 86400LL + milliseconds / 1000);
  }
  /// @return The same in milliseconds.
  constexpr unsigned long long toMillsSeconds() const {
    return static_cast<unsigned long long>(day * 86400000LL + milliseconds);
  }
  /// @return A normalised tick. Seconds wrap in 32 bits: spans of up to 24855 days are exact, dates are not.
  chTick toTick() const {
    return {zar::wrapping_add(zar::wrapping_multiply(day, 86400), milliseconds / 1000), milliseconds % 1000 * 1000};
  }

  /// Formats the time with the run-time library's strftime(), in the process's locale, without time zone or daylight
  /// saving. ASCII formats that use only %Y, %m, %d, %H, %M, %S and %% are written without calling it.
  /// REQUIRES: a format that strftime() knows.
  /// @return The text; empty when it would take 128 bytes or more, or where strftime() refuses: on Windows a time of
  ///         day below 0 or from 24 hours on, years beyond 9999 and, with %y, those before 1900.
  std::string Format(const char *format) const;

  /// @return The system clock in UTC.
  static chTime getSystemTime();

  /// Sets the system clock, in a settled way: 1 January 1970 is subtracted from `time`, and the difference is read as a
  /// date, 1970 years too early. Such years are refused; only a time that carries the offset twice, such as
  /// chTime(now.day + 719560, now.milliseconds), yields a real date.
  /// @return Whether the clock was set: false for a year before 1601, and without the system's permission.
  static bool setSystemTime(const chTime &time);

  int day;          ///< may be negative
  int milliseconds; ///< 0 to 86399999 once normalised

private:
  static constexpr int day_1970 = 719560;

  static constexpr int milliseconds_of(int hour, int minute, int second, int millis) {
    const int minutes = zar::wrapping_add(zar::wrapping_multiply(hour, 60), minute);
    const int seconds = zar::wrapping_add(zar::wrapping_multiply(minutes, 60), second);
    return zar::wrapping_add(zar::wrapping_multiply(seconds, 1000), millis);
  }
};

/// The local time at construction, a record of eight 16-bit words: wYear, wMonth (1 to 12), wDayOfWeek (0 is Sunday),
/// wDay, wHour, wMinute, wSecond, wMilliseconds.
class ZAR_API chLocalTime : public SYSTEMTIME {
public:
  /// Reads the clock like zarGetLocalTime().
  chLocalTime();
};

static_assert(sizeof(chTime) == 8 && sizeof(chLocalTime) == 16, "records of fixed size");
