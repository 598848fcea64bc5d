// The clocks of the system.
#pragma once

#include "zarlib/platform/types.h"

namespace zar::platform {

/// An instant of the monotonic clock, which starts with the machine and keeps running while it sleeps.
struct boot_time {
  long long seconds;
  int microseconds; ///< 0 to 999999
};

/// Never runs backward, on any thread, until it wraps on Windows: after some 10.7 days with a 10 MHz counter.
boot_time read_boot_time();

/// The same clock in whole milliseconds.
unsigned long long read_boot_milliseconds();

/// An instant on both clocks.
struct moment {
  boot_time boot;
  long long wall_milliseconds; ///< since the start of 1970 in UTC
};

/// In quick succession costs a single clock read; a wall clock set meanwhile is noticed within 17 ms.
moment read_moment();

/// The local time of a wall-clock instant near the present, in the units of moment.
SYSTEMTIME local_time_of(long long wall_milliseconds);

/// The wall clock in the local time zone.
SYSTEMTIME read_local_time();

/// The wall clock in UTC.
SYSTEMTIME read_system_time();

/// Sets the wall clock to a UTC time; the day of the week is ignored.
/// @return false when it is no valid date or time of day, its year is before 1601, or the process
///         may not set the clock.
bool set_system_time(const SYSTEMTIME &time);

} // namespace zar::platform
