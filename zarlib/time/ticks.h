// The monotonic clock and the small values built on it: chTick, chTimer, chTickTimer, chTimeout.
#pragma once

#include "zarlib/export.h"

/// A time span, or a point in time counted from the start of the machine.
///
/// A plain value; every operation but assignment leaves it normalised, with microseconds in 0 to 999999. The one
/// exception is settled: microseconds that are an exact negative multiple of 1000000 become 1000000, one second lower
/// ({5, -1000000} becomes {3, 1000000}); the value is right, but comparisons see that form.
class ZAR_API chTick {
public:
  chTick(int seconds = 0, int microseconds = 0);

  chTick operator+(const chTick &other) const;
  chTick operator-(const chTick &other) const;
  chTick &operator+=(const chTick &other);

  /// Compares the seconds, then the microseconds.
  bool operator<(const chTick &other) const;
  bool operator>(const chTick &other) const;

  int seconds;      ///< may be negative
  int microseconds; ///< 0 to 999999
};

/// The clock. It counts from the start of the machine and never runs backward, short of the wrap below. Any thread; no
/// lock, no allocation.
class ZAR_API chTimer {
public:
  /// @return The current tick. On Windows the counter is multiplied by 1000000 before it is divided by its frequency,
  ///         so with a 10 MHz counter the result is garbage after some 10.7 days; on Linux it stays right.
  static chTick GetTickFromBoot();

  /// @return The same clock in whole milliseconds.
  static unsigned long long GetTimeFromBoot_ms();
};

/// @return chTimer::GetTimeFromBoot_ms().
ZAR_API unsigned long long zarGetTickCount();

/// A stopwatch that runs from its construction. Spans are 32-bit microseconds and wrap after 35 minutes 47 seconds; for
/// longer ones take the difference of two chTick.
class ZAR_API chTickTimer {
public:
  chTickTimer();

  /// @return Microseconds since the start mark; the mark stays.
  int GetMicrosecond() const;

  /// @return The same figure; the start mark moves to the instant read, so consecutive resets lose
  ///         no time between them.
  int ResetTickTimer();

private:
  chTick m_start;
};

/// A deadline on the monotonic clock.
///
/// A plain value of two words. Each thread keeps its own; nothing here locks, allocates or fails.
class ZAR_API chTimeout {
public:
  /// Sets the deadline `milliseconds` from now, like setTimeout().
  chTimeout(int milliseconds);

  /// Moves the deadline.
  /// @param milliseconds  Time from now. -1 means no deadline. Any other negative value is a deadline already
  ///                      passed; from 2147484 on, in either direction, the product with 1000 wraps in 32 bits, and
  ///                      the deadline with it.
  void setTimeout(int milliseconds);

  /// @return 1 when the deadline has been reached (equal counts), else 0. Without a deadline always 0, and
  ///         the clock is not read.
  int IsTimeout() const;

  /// @return Whole milliseconds left, rounded down, never below 0; -1 without a deadline.
  int GetLeftMillisecond() const;

private:
  chTick m_deadline;
};
