#include "zarlib/platform/clock.h"

#include <ctime>

namespace zar::platform {

static timespec now() {
  timespec time;
  clock_gettime(CLOCK_BOOTTIME, &time);
  return time;
}

boot_time read_boot_time() {
  const timespec time = now();
  return {time.tv_sec, static_cast<int>(static_cast<unsigned>(time.tv_nsec) / 1000)};
}

unsigned long long read_boot_milliseconds() {
  const timespec time = now();
  return static_cast<unsigned long long>(time.tv_sec) * 1000 + static_cast<unsigned long long>(time.tv_nsec) / 1000000;
}

SYSTEMTIME read_local_time() {
  timespec time;
  clock_gettime(CLOCK_REALTIME, &time);
  // localtime_r need not look at TZ again at each call, so the zone is what it was at the first.
  tm parts;
  localtime_r(&time.tv_sec, &parts);
  SYSTEMTIME result;
  result.wYear = static_cast<unsigned short>(parts.tm_year + 1900);
  result.wMonth = static_cast<unsigned short>(parts.tm_mon + 1);
  result.wDayOfWeek = static_cast<unsigned short>(parts.tm_wday);
  result.wDay = static_cast<unsigned short>(parts.tm_mday);
  result.wHour = static_cast<unsigned short>(parts.tm_hour);
  result.wMinute = static_cast<unsigned short>(parts.tm_min);
  result.wSecond = static_cast<unsigned short>(parts.tm_sec);
  result.wMilliseconds = static_cast<unsigned short>(time.tv_nsec / 1000000);
  return result;
}

} // namespace zar::platform
