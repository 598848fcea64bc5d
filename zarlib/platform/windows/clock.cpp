#include "zarlib/platform/clock.h"

namespace zar::platform {

namespace {

// FILETIME counts 100 ns steps from the start of 1601.
constexpr long long start_of_1970 = 116444736000000000, steps_per_millisecond = 10000;

long long read_counter() {
  LARGE_INTEGER count;
  QueryPerformanceCounter(&count);
  return count.QuadPart;
}

long long frequency() {
  static const long long ticks_per_second = [] {
    LARGE_INTEGER value;
    QueryPerformanceFrequency(&value);
    return value.QuadPart;
  }();
  return ticks_per_second;
}

/// The counter in units of 1/scale seconds. Settled, callers rely on it: the product is formed first and wraps, with a
/// 10 MHz counter after some 10.7 days at scale 1000000.
unsigned long long scaled_counter(unsigned long long scale) {
  const auto product = static_cast<long long>(static_cast<unsigned long long>(read_counter()) * scale);
  return static_cast<unsigned long long>(product / frequency());
}

} // namespace

boot_time read_boot_time() {
  const unsigned long long all = scaled_counter(1000000);
  return {static_cast<long long>(all / 1000000), static_cast<int>(all % 1000000)};
}

unsigned long long read_boot_milliseconds() { return scaled_counter(1000); }

moment read_moment() {
  FILETIME time;
  GetSystemTimeAsFileTime(&time);
  const auto steps =
      static_cast<long long>(static_cast<unsigned long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime);
  return {read_boot_time(), (steps - start_of_1970) / steps_per_millisecond};
}

SYSTEMTIME local_time_of(long long wall_milliseconds) {
  const long long steps = wall_milliseconds * steps_per_millisecond + start_of_1970;
  const FILETIME time = {static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)};
  FILETIME local;
  SYSTEMTIME result = {};
  if (FileTimeToLocalFileTime(&time, &local)) FileTimeToSystemTime(&local, &result);
  return result;
}

SYSTEMTIME read_local_time() {
  SYSTEMTIME time;
  GetLocalTime(&time);
  return time;
}

SYSTEMTIME read_system_time() {
  SYSTEMTIME time;
  GetSystemTime(&time);
  return time;
}

bool set_system_time(const SYSTEMTIME &time) {
  constexpr WORD first_year = 1601;
  return time.wYear >= first_year && SetSystemTime(&time) != 0;
}

} // namespace zar::platform
