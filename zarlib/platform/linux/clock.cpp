#include "zarlib/platform/clock.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>

namespace zar::platform {

namespace {

timespec read(clockid_t clock) {
  timespec time;
  clock_gettime(clock, &time);
  return time;
}

boot_time boot_time_of(const timespec &time) {
  return {time.tv_sec, static_cast<int>(static_cast<unsigned>(time.tv_nsec) / 1000)};
}

constexpr long long nanoseconds_per_second = 1000000000;

long long nanoseconds(const timespec &time) { return time.tv_sec * nanoseconds_per_second + time.tv_nsec; }

/// How far the wall clock was ahead of the boot clock when this thread last compared them.
struct lead {
  long long compared; ///< time since boot, in steps of 2^24 ns
  long long nanoseconds;
};

thread_local lead t_lead = {-1, 0};

/// A thread preempted between the two readings would count the pause as lead, so the clocks are then read again.
long long compare_clocks() {
  constexpr long long most_between = 500000;
  constexpr int most_attempts = 4;
  long long result = 0;
  for (int i = 0; i < most_attempts; ++i) {
    const long long boot = nanoseconds(read(CLOCK_BOOTTIME));
    result = nanoseconds(read(CLOCK_REALTIME)) - boot;
    if (nanoseconds(read(CLOCK_BOOTTIME)) - boot < most_between) break;
  }
  return result;
}

/// The local date, hour and minute of the last minute asked for. The UTC offset changes only at whole minutes, so the
/// calendar is computed once a minute; it is the most expensive part of a trace line.
class minute_cache {
public:
  bool find(time_t minute, SYSTEMTIME &time) const {
    const std::uint64_t known = m_word.load(std::memory_order_relaxed);
    if (!fits(minute) || known >> date_bits != static_cast<std::uint64_t>(minute)) return false;
    time.wYear = known >> 23 & 0xFFF;
    time.wMonth = known >> 19 & 0xF;
    time.wDay = known >> 14 & 0x1F;
    time.wDayOfWeek = known >> 11 & 0x7;
    time.wHour = known >> 6 & 0x1F;
    time.wMinute = known & 0x3F;
    return true;
  }

  void keep(time_t minute, const SYSTEMTIME &time) {
    if (!fits(minute) || time.wYear > 0xFFF) return;
    m_word.store(static_cast<std::uint64_t>(minute) << date_bits | static_cast<std::uint64_t>(time.wYear) << 23 |
                     static_cast<std::uint64_t>(time.wMonth << 19 | time.wDay << 14 | time.wDayOfWeek << 11 |
                                                time.wHour << 6 | time.wMinute),
                 std::memory_order_relaxed);
  }

private:
  static constexpr int date_bits = 35;
  static bool fits(time_t minute) { return minute > 0 && minute < time_t{1} << (64 - date_bits); }

  std::atomic<std::uint64_t> m_word{0};
};

constinit minute_cache last_minute;

} // namespace

boot_time read_boot_time() { return boot_time_of(read(CLOCK_BOOTTIME)); }

unsigned long long read_boot_milliseconds() {
  const timespec time = read(CLOCK_BOOTTIME);
  return static_cast<unsigned long long>(time.tv_sec) * 1000 + static_cast<unsigned long long>(time.tv_nsec) / 1000000;
}

moment read_moment() {
  const timespec boot = read(CLOCK_BOOTTIME);
  const long long since_boot = nanoseconds(boot), step = since_boot >> 24;
  if (t_lead.compared != step) t_lead = {step, compare_clocks()};
  const auto wall = static_cast<unsigned long long>(since_boot + t_lead.nanoseconds);
  return {boot_time_of(boot), static_cast<long long>(wall / 1000000)};
}

SYSTEMTIME local_time_of(long long wall_milliseconds) {
  const time_t time = wall_milliseconds / 1000, minute = time / 60, second = time % 60;
  SYSTEMTIME result = {};
  result.wMilliseconds = static_cast<unsigned short>(wall_milliseconds % 1000);
  result.wSecond = static_cast<unsigned short>(second);
  if (last_minute.find(minute, result)) return result;

  // localtime_r need not re-read TZ on every call, so the zone stays what it was at the first.
  tm parts;
  localtime_r(&time, &parts);
  result.wYear = static_cast<unsigned short>(parts.tm_year + 1900);
  result.wMonth = static_cast<unsigned short>(parts.tm_mon + 1);
  result.wDayOfWeek = static_cast<unsigned short>(parts.tm_wday);
  result.wDay = static_cast<unsigned short>(parts.tm_mday);
  result.wHour = static_cast<unsigned short>(parts.tm_hour);
  result.wMinute = static_cast<unsigned short>(parts.tm_min);
  // In a zone that counts leap seconds, or whose offset includes seconds, minutes start elsewhere.
  if (parts.tm_sec == second)
    last_minute.keep(minute, result);
  else
    result.wSecond = static_cast<unsigned short>(parts.tm_sec);
  return result;
}

SYSTEMTIME read_local_time() { return local_time_of(nanoseconds(read(CLOCK_REALTIME)) / 1000000); }

SYSTEMTIME read_system_time() {
  using namespace std::chrono;
  const auto now = floor<milliseconds>(system_clock::now());
  const auto today = floor<days>(now);
  const year_month_day date = today;
  const hh_mm_ss time(now - today);
  const auto word = [](auto value) { return static_cast<unsigned short>(value); };
  return {word(static_cast<int>(date.year())), word(static_cast<unsigned>(date.month())),
          word(weekday(today).c_encoding()),   word(static_cast<unsigned>(date.day())),
          word(time.hours().count()),          word(time.minutes().count()),
          word(time.seconds().count()),        word(time.subseconds().count())};
}

bool set_system_time(const SYSTEMTIME &time) {
  using namespace std::chrono;
  constexpr int first_year = 1601;
  const auto date = year(time.wYear) / time.wMonth / time.wDay;
  if (time.wYear < first_year || !date.ok()) return false;
  if (time.wHour > 23 || time.wMinute > 59 || time.wSecond > 59 || time.wMilliseconds > 999) return false;
  const auto moment = sys_days(date) + hours(time.wHour) + minutes(time.wMinute) + seconds(time.wSecond);
  const timespec words = {moment.time_since_epoch().count(), time.wMilliseconds * 1000000L};
  return clock_settime(CLOCK_REALTIME, &words) == 0;
}

} // namespace zar::platform
