// The time limit of a wait on a word shared between processes, in slices.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <ctime>

namespace zar::platform {

/// Counts down a wait on the monotonic clock.
///
/// A process may be killed after it released a lock or set a signal but before it woke the next waiter, or after it was
/// woken but before it took what it was woken for. Nobody would then wake the others, so no wait sleeps longer than a
/// slice before it checks again.
class wait_limit {
public:
  using clock = std::chrono::steady_clock;

  /// @param milliseconds  -1 for no limit; any other value is taken as unsigned.
  explicit wait_limit(int milliseconds)
      : m_end(milliseconds == -1 ? clock::time_point::max()
                                 : clock::now() + std::chrono::milliseconds(static_cast<std::uint32_t>(milliseconds))) {
  }

  /// @return How long to sleep now; 0 when time is up.
  std::chrono::nanoseconds next_slice() const {
    const auto now = clock::now();
    if (now >= m_end) return std::chrono::nanoseconds(0);
    return std::min<std::chrono::nanoseconds>(m_end - now, std::chrono::milliseconds(100));
  }

private:
  clock::time_point m_end;
};

inline timespec to_timespec(std::chrono::nanoseconds time) {
  constexpr std::int64_t second = 1000000000;
  return {static_cast<time_t>(time.count() / second), static_cast<long>(time.count() % second)};
}

} // namespace zar::platform
