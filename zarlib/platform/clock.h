// The clocks of the system.
#pragma once

#include "zarlib/platform/types.h"

namespace zar::platform {

/// A moment of the monotonic clock, whose zero is the start of the machine and which goes on while the machine sleeps.
struct boot_time {
  long long seconds;
  int microseconds; ///< 0 to 999999
};

/// Never runs backward, on any thread.
boot_time read_boot_time();

/// The same clock in whole milliseconds.
unsigned long long read_boot_milliseconds();

/// A moment by both clocks.
struct moment {
  boot_time boot;
  long long wall_milliseconds; ///< since the start of 1970 in universal time
};

/// Where moments follow one another, the price of one clock: a wall clock that is set meanwhile is noticed within 17 ms.
moment read_moment();

/// The local time of a moment of the wall clock near the present, told as there.
SYSTEMTIME local_time_of(long long wall_milliseconds);

/// The wall clock in the local time zone.
SYSTEMTIME read_local_time();

/// The wall clock in universal time.
SYSTEMTIME read_system_time();

/// Sets the wall clock to a universal time; the day of the week does not count.
/// @return false when it is no date or time of day, its year is before 1601, or the process may not set the clock.
bool set_system_time(const SYSTEMTIME &time);

} // namespace zar::platform
