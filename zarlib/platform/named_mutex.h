// A recursive named mutex of the session, which detects its owner's death.
//
// All processes of the user that open a full name share one mutex; it goes away when its last holder closes it or dies.
// The owner is a thread, whichever handle it used. Functions accept a handle on any thread; null is refused.
#pragma once

#include <string>

namespace zar::platform {

struct named_mutex;

/// Results of a wait; the numbers appear in a warning text.
constexpr unsigned wait_acquired = 0;
constexpr unsigned wait_abandoned = 128; ///< acquired, from a thread that ended without releasing it
constexpr unsigned wait_timeout = 258;
constexpr unsigned wait_failed = 0xFFFFFFFF;

/// Opens the mutex, or creates it unlocked.
/// @param created  Receives false when the mutex existed, else true, even when refused.
/// @return A handle of its own, to be closed once; null when the system refuses.
named_mutex *open_mutex(const std::string &name, bool &created);

/// Does not release a held mutex: for those who still have it open it stays with its thread until that ends.
void close_mutex(named_mutex *mutex);

/// Preserves the run-time library's errno.
/// @param milliseconds  0 only tries, -1 waits without limit, any other number is taken as unsigned.
unsigned wait_mutex(named_mutex *mutex, int milliseconds);

/// Undoes one wait of this thread. @return False, and nothing is done, when this thread does not own the mutex.
bool release_mutex(named_mutex *mutex);

} // namespace zar::platform
