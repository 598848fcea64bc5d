// A named event of the session, set explicitly and consumed by one waiter at a time.
//
// All processes of the user that open a full name share one event; it goes away when its last holder closes it or dies.
// Functions accept a handle on any thread; null is refused.
#pragma once

#include <string>

namespace zar::platform {

struct named_event;

/// Opens the event, or creates it unsignalled.
/// @param created  Receives false when the event existed, else true, even when refused.
/// @return A handle of its own, to be closed once; null when the system refuses.
named_event *open_event(const std::string &name, bool &created);
void close_event(named_event *event);

/// Signals: releases one waiter, now or later; no effect on an event already signalled. @return False when refused.
bool set_event(named_event *event);
void reset_event(named_event *event);

/// Waits for the signal and consumes it.
/// @param milliseconds  0 only polls, -1 waits without limit, any other number is taken as unsigned.
/// @return Whether this call consumed the signal.
bool wait_event(named_event *event, int milliseconds);

} // namespace zar::platform
