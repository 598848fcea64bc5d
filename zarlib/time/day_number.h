// Conversion between calendar dates and day numbers: the arithmetic behind chTime.
//
// The formulas are those of Fliegel and Van Flandern (Communications of the ACM 11, 1968, p. 657) for the proleptic
// Gregorian calendar. A day number is the Julian Day Number less 1721028; 1 January 1970 is 719560. Where all terms
// are known to be positive and small, shorter sums give the same results; all other arguments go through the
// formulas as published.
//
// From a date the formula holds from 1 March of the year -4801, with -1 as the year before 1, to 28 February of the
// year 1465073, where its 32-bit words overflow. From a day number it holds from -1789597 (1 March of the year -4900,
// with 0 as the year before 1) to the greatest int (9 June of the year 5879610). Outside these ranges the result is
// whatever they yield.
#pragma once

#include "zarlib/time/wrapping.h"

namespace zar {

struct calendar_date {
  int year;
  int month; ///< 1 to 12
  int day;   ///< 1 to 31
};

/// The published formula in wrapping 32-bit words. Nothing is validated; negative years count without a year zero.
constexpr int far_day_number(int year, int month, int day) {
  const int a = wrapping_subtract(month, 14) / 12;
  // Settled, callers rely on it: the year before 1 is -1; far_date_of() does not mirror this.
  const int y = wrapping_add(wrapping_add(year, year < 0 ? 1 : 0), a);
  const int in_years = wrapping_multiply(1461, wrapping_add(y, 4800)) / 4;
  const int month_of_year = wrapping_subtract(wrapping_subtract(month, 2), wrapping_multiply(12, a));
  const int in_months = wrapping_multiply(367, month_of_year) / 12;
  const int in_centuries = wrapping_multiply(3, wrapping_add(y, 4900) / 100) / 4;
  const int sum = wrapping_subtract(wrapping_add(in_years, in_months), in_centuries);
  return wrapping_subtract(wrapping_add(sum, day), 1753103);
}

/// far_day_number(), with fewer steps for the years 0 to 999999.
constexpr int day_number_of(int year, int month, int day) {
  const bool distant = static_cast<unsigned>(year) > 999999, no_month = static_cast<unsigned>(month) - 1 > 11;
  if (distant | no_month) return far_day_number(year, month, day);
  const bool after_december = month < 3; // years begin in March here, so that the leap day comes last
  const unsigned y = static_cast<unsigned>(year) + 4800 - after_december;
  const unsigned m = static_cast<unsigned>(month) + (after_december ? 12 : 0);
  const unsigned centuries = y / 100;
  const unsigned days = 1461 * y / 4 - centuries + centuries / 4 + (979 * m - 2919) / 32;
  return static_cast<int>(days + static_cast<unsigned>(day) - 1753073U);
}

/// The published formula in 64-bit words, which no int argument overflows.
constexpr calendar_date far_date_of(int day_number) {
  long long l = day_number + 1789597LL;
  const long long n = 4 * l / 146097;
  l -= (146097 * n + 3) / 4;
  const long long i = 4000 * (l + 1) / 1461001;
  l = l - 1461 * i / 4 + 31;
  const long long j = 80 * l / 2447;
  const long long day = l - 2447 * j / 80;
  l = j / 11;
  return {static_cast<int>(100 * (n - 49) + i + l), static_cast<int>(j + 2 - 12 * l), static_cast<int>(day)};
}

/// far_date_of(), with fewer steps from March of the year 0 to the year 19728: see Neri and Schneider, "Euclidean
/// affine functions and their application to calendar algorithms" (Software: Practice and Experience 53, 2023).
constexpr calendar_date date_of(int day_number) {
  const unsigned n = static_cast<unsigned>(day_number) - 92; // days since 1 March of the year 0
  const unsigned quarters = 4 * n + 3;
  const unsigned centuries = quarters / 146097;
  const unsigned julian = quarters + 4 * centuries - (centuries & ~3U); // as if every fourth year had a leap day
  const unsigned long long years = 2939745ULL * julian;                 // 2939745 is 2^32 / 1461 rounded up
  const unsigned day_of_year = static_cast<unsigned>(years) / (4 * 2939745U);
  const bool next_year = day_of_year >= 306;
  // The month is in the bits above 16, the day of the month below.
  const unsigned months = 2141 * day_of_year + 197913 - (next_year ? 12U << 16 : 0);
  calendar_date date = {static_cast<int>(static_cast<unsigned>(years >> 32) + next_year),
                        static_cast<int>(months >> 16), static_cast<int>((months & 0xFFFF) / 2141 + 1)};
  if (n >= 7206000) date = far_date_of(day_number);
  return date;
}

} // namespace zar
