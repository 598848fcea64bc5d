#include "zarlib/time/ticks.h"

#include "zarlib/platform/clock.h"
#include "zarlib/time/wrapping.h"

using zar::wrapping_add;
using zar::wrapping_multiply;
using zar::wrapping_subtract;

namespace {

constexpr int microseconds_per_second = 1000000;

int microseconds_of(const chTick &span) {
  return wrapping_add(wrapping_multiply(span.seconds, microseconds_per_second), span.microseconds);
}

} // namespace

chTick::chTick(int s, int u) : seconds(s), microseconds(u) {
  if (u >= microseconds_per_second) {
    seconds = wrapping_add(s, u / microseconds_per_second);
    microseconds = u % microseconds_per_second;
  } else if (u < 0) {
    // Settled, callers rely on it: an exact negative multiple becomes 1000000, one second lower.
    seconds = wrapping_add(s, u / microseconds_per_second - 1);
    microseconds = u % microseconds_per_second + microseconds_per_second;
  }
}

chTick chTick::operator+(const chTick &other) const {
  return {wrapping_add(seconds, other.seconds), wrapping_add(microseconds, other.microseconds)};
}

chTick chTick::operator-(const chTick &other) const {
  return {wrapping_subtract(seconds, other.seconds), wrapping_subtract(microseconds, other.microseconds)};
}

chTick &chTick::operator+=(const chTick &other) { return *this = *this + other; }

bool chTick::operator<(const chTick &other) const {
  return seconds != other.seconds ? seconds < other.seconds : microseconds < other.microseconds;
}

bool chTick::operator>(const chTick &other) const { return other < *this; }

chTick chTimer::GetTickFromBoot() {
  const zar::platform::boot_time now = zar::platform::read_boot_time();
  return {static_cast<int>(now.seconds), now.microseconds};
}

unsigned long long chTimer::GetTimeFromBoot_ms() { return zar::platform::read_boot_milliseconds(); }

unsigned long long zarGetTickCount() { return chTimer::GetTimeFromBoot_ms(); }

chTickTimer::chTickTimer() : m_start(chTimer::GetTickFromBoot()) {}

int chTickTimer::GetMicrosecond() const { return microseconds_of(chTimer::GetTickFromBoot() - m_start); }

int chTickTimer::ResetTickTimer() {
  const chTick now = chTimer::GetTickFromBoot();
  const int elapsed = microseconds_of(now - m_start);
  m_start = now;
  return elapsed;
}

// Only the microseconds word marks an absent deadline: no normalised tick has -1 there.
static constexpr int no_deadline = -1;

chTimeout::chTimeout(int milliseconds) { setTimeout(milliseconds); }

void chTimeout::setTimeout(int milliseconds) {
  if (milliseconds == -1) {
    m_deadline.seconds = m_deadline.microseconds = no_deadline;
    return;
  }
  m_deadline = chTick(0, wrapping_multiply(milliseconds, 1000)) + chTimer::GetTickFromBoot();
}

int chTimeout::IsTimeout() const {
  if (m_deadline.microseconds == no_deadline) return 0;
  return m_deadline > chTimer::GetTickFromBoot() ? 0 : 1;
}

int chTimeout::GetLeftMillisecond() const {
  if (m_deadline.microseconds == no_deadline) return -1;
  const chTick left = m_deadline - chTimer::GetTickFromBoot();
  if (left.seconds < 0) return 0;
  return wrapping_add(wrapping_multiply(left.seconds, 1000), left.microseconds / 1000);
}
