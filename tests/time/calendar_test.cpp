#include "zarlib/time/calendar.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <ctime>

using namespace std::chrono;

namespace {

constexpr int day_1970 = 719560;
using date = std::array<long long, 3>;

/// The date of a day number by the standard library, shifted by whole cycles of 400 years into its limited range.
date model_date(long long day) {
  const long long cycles = (day - day_1970) / 146097;
  const year_month_day d = sys_days(days(day - day_1970 - cycles * 146097));
  return {int(d.year()) + cycles * 400, unsigned(d.month()), unsigned(d.day())};
}

date date_of(const chTime &time) { return {time.GetYear(), time.GetMonth(), time.GetDay()}; }

/// The reverse; here the year before 1 is -1.
int day_of(const date &d) { return chTime(int(d[0] - (d[0] < 1)), int(d[1]), int(d[2]), 0, 0, 0, 0).day; }

#ifdef __linux__
timespec clock_set_to;
#endif

} // namespace

#ifdef __linux__
/// Interposes the system's, so that the machine's clock is not set.
extern "C" int clock_settime(clockid_t, const timespec *time) noexcept {
  clock_set_to = *time;
  return 0;
}
#endif

TEST(Calendar, EveryDayOfTheYears1To9999GoesForthAndBack) {
  int differences = 0;
  for (int day = day_of({1, 1, 1}); day < day_of({10000, 1, 1}); ++day) {
    const int week_day = int(weekday(sys_days(days(day - day_1970))).c_encoding());
    const chTime time(day, 0);
    differences += date_of(time) != model_date(day) || day_of(date_of(time)) != day || time.GetDayOfWeek() != week_day;
  }
  EXPECT_EQ(differences, 0);
}

TEST(Calendar, FormulasHoldUpToTheirEndsAndNoFarther) {
  for (long long day = -1789597; day <= INT_MAX; day += 997) ASSERT_EQ(date_of(chTime(int(day), 0)), model_date(day));
  EXPECT_EQ(date_of(chTime(INT_MAX, 0)), model_date(INT_MAX));
  EXPECT_NE(date_of(chTime(-1789598, 0)), model_date(-1789598));
  for (long long day = -1753072; day <= 535107016; day += 1004) ASSERT_EQ(day_of(model_date(day)), day);
  for (const int day : {-1, 0, 91, 92, 7206091, 7206092, 365242531, 365242532, 535107016})
    EXPECT_TRUE(day_of(model_date(day)) == day && date_of(chTime(day, 0)) == model_date(day)) << day;
  for (const int day : {-1753073, 535107017}) EXPECT_NE(day_of(model_date(day)), day);
  EXPECT_EQ(chTime(0, 5, 5, 0, 0, 0, 0), chTime(-1, 5, 5, 0, 0, 0, 0)) << "one year on the way to the number";
  EXPECT_EQ(chTime(2024, 15, 40, 0, 0, 0, 0).day, 739749) << "months and days are not validated";
}

TEST(Calendar, NormalisesAndTellsSpansAndFields) {
  const int day = 86400000;
  const auto is = [](const chTime &t, int days, int millis) { return t.day == days && t.milliseconds == millis; };
  EXPECT_TRUE(is(chTime(5, day - 1), 5, day - 1) && is(chTime(5, day), 6, 0) && is(chTime(5, -1), 4, day - 1));
  EXPECT_TRUE(is(chTime(5, -day), 3, day) && chTime(5, -day) < chTime(4, 0) && is(chTime(5, -2 * day), 2, day));
  EXPECT_TRUE(is(chTime(INT_MAX, day), INT_MIN, 0) && is(chTime(5, INT_MIN), -20, INT_MIN % day + day));
  EXPECT_TRUE(is(chTime(0, 1) - chTime(0, 2), -1, day - 1) && is(chTime(1, day - 1) + chTime(1, 1), 3, 0));
  EXPECT_TRUE(is((chTime(9, 5) += chTime(1, day - 5)) -= chTime(4, 1), 6, day - 1));
  EXPECT_TRUE(is(chTime(2024, 3, 7, 25, -1, 61, 5), 739349, 90001005)) << "nothing is normalised";
  EXPECT_TRUE(is(chTime(0x100015180LL, 0), day_1970 + 1, 0) && is(chTime(86399LL, 2000), day_1970, day + 1000));
  EXPECT_TRUE(is(chTime(-1LL, 7), day_1970 + 49710, 23295007) && is(chTime::time1970(), day_1970, 0));
  const chTime time(2024, 3, 7, 9, 5, 2, 37), before(-1, 1500);
  EXPECT_TRUE(time.GetHour() == 9 && time.GetMinute() == 5 && time.GetSecond() == 2 && time.GetMillsSecond() == 37);
  EXPECT_TRUE(time.toSeconds() == 739349ULL * 86400 + 32702 &&
              time.toMillsSeconds() == 739349ULL * 86400000 + 32702037);
  EXPECT_TRUE(before.toSeconds() == 0ULL - 86399 && before.toMillsSeconds() == 0ULL - 86398500);
  EXPECT_TRUE(before.toTick().seconds == -86399 && before.toTick().microseconds == 500000);
  EXPECT_TRUE(chTime(-3, 0).GetDayOfWeek() == 6 && chTime(-2, 0).GetDayOfWeek() == 0);
}

TEST(Calendar, FormatsAsTheRunTimeLibraryDoes) {
  const bool wide = sizeof(time_t) > 4; // years 1000 to 9999, or 1970 to 2037
  for (long long second = wide ? -30610224000 : 0; second < (wide ? 253402300799 : INT_MAX);
       second += 86400 * 157 - 7) {
    const time_t moment = static_cast<time_t>(second);
    const chTime time =
        chTime(day_1970 + int(floor<days>(seconds(second)).count()), int((second % 86400 + 86400) % 86400 * 1000));
    for (const char *format :
         {"%Y-%m-%d %H:%M:%S", "%%%d.%m.%Y%%", "\xC3\xA4 %H", "%a %B %c %j %p %U %w %W %x %X %y %I"}) {
      char text[512] = {};
      strftime(text, sizeof text, format, std::gmtime(&moment));
      ASSERT_EQ(time.Format(format), text);
    }
  }
  for (const std::string conversion : {"%S", "%p"}) {
    EXPECT_EQ(chTime::time1970().Format((std::string(125, 'x') + conversion).c_str()).size(), 127U);
    EXPECT_EQ(chTime::time1970().Format((std::string(126, 'x') + conversion).c_str()), "");
  }
}

TEST(Calendar, ReadsTheClocksAndRefusesToSetThem) {
  const auto since_1970 = [] { return system_clock::now().time_since_epoch() / 1ms + day_1970 * 86400000LL; };
  const auto before = since_1970();
  const chTime now = chTime::getSystemTime();
  const auto read = static_cast<long long>(now.toMillsSeconds());
  EXPECT_TRUE(before <= read && read <= since_1970());
  EXPECT_FALSE(chTime::setSystemTime(now));
#ifdef __linux__
  // time() reads a coarser clock, which may still be in the previous second.
  const auto seconds = [] { return system_clock::to_time_t(system_clock::now()); };
  const time_t start = seconds();
  const chLocalTime local;
  tm parts = {};
  parts.tm_sec = local.wSecond, parts.tm_min = local.wMinute, parts.tm_hour = local.wHour, parts.tm_isdst = -1;
  parts.tm_mday = local.wDay, parts.tm_mon = local.wMonth - 1, parts.tm_year = local.wYear - 1900;
  EXPECT_TRUE(start <= mktime(&parts) && mktime(&parts) <= seconds() && parts.tm_wday == local.wDayOfWeek);

  EXPECT_EQ(clock_set_to.tv_sec, 0);
  EXPECT_TRUE(chTime::setSystemTime(chTime(now.day + day_1970, 3723004))) << "the offset twice";
  EXPECT_EQ(clock_set_to.tv_sec, (now.day - day_1970) * 86400LL + 3723);
  EXPECT_EQ(std::exchange(clock_set_to, {}).tv_nsec, 4000000);
#endif
}
