// An event of the session under a name, set by hand and taken by one waiter at a time.
//
// Whoever of the user's processes opens a full name has the same event; it goes when its last holder closes it or dies.
// Functions take a handle from any thread; null is refused.
#pragma once

#include <string>

namespace zar::platform {

struct named_event;

/// Opens the event, or makes it, not signalled.
/// @param created  Receives false when the event was there, else true, also for a refusal.
/// @return A handle of its own, to be closed once; null when the system refuses.
named_event *open_event(const std::string &name, bool &created);
void close_event(named_event *event);

/// Signals: one waiter, now or later, gets through. Signalling twice is signalling once. @return False for a refusal.
bool set_event(named_event *event);
void reset_event(named_event *event);

/// Waits for the signal and takes it.
/// @param milliseconds  0 only looks, -1 waits without limit, any other number counts as unsigned.
/// @return Whether this call took the signal.
bool wait_event(named_event *event, int milliseconds);

} // namespace zar::platform
