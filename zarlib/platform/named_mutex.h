// A recursive mutex of the session under a name, which notices its holder's death.
//
// Whoever of the user's processes opens a full name has the same mutex; it goes when its last holder closes it or dies. A thread
// holds the mutex, through whichever handle it was taken. Functions take a handle from any thread; null is refused.
#pragma once

#include <string>

namespace zar::platform {

struct named_mutex;

/// What a wait comes to; the numbers stand in a warning text.
constexpr unsigned wait_acquired = 0;
constexpr unsigned wait_abandoned = 128; ///< acquired, from a thread that ended without giving it back
constexpr unsigned wait_timeout = 258;
constexpr unsigned wait_failed = 0xFFFFFFFF;

/// Opens the mutex, or makes it, free.
/// @param created  Receives false when the mutex was there, else true, also for a refusal.
/// @return A handle of its own, to be closed once; null when the system refuses.
named_mutex *open_mutex(const std::string &name, bool &created);

/// Does not give back a mutex that is held: it stays with its thread until that ends, for those who still have it open.
void close_mutex(named_mutex *mutex);

/// Leaves the run-time library's errno as it was.
/// @param milliseconds  0 only tries, -1 waits without limit, any other number counts as unsigned.
unsigned wait_mutex(named_mutex *mutex, int milliseconds);

/// Undoes one wait of this thread. @return False, and nothing done, when this thread does not hold the mutex.
bool release_mutex(named_mutex *mutex);

} // namespace zar::platform
