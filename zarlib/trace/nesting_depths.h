// The nesting depth of each thread's scope tracers.
#pragma once

namespace zar {

/// Increments the depth of the calling thread. @return The previous depth. A thread's first call starts at 0 and drops
/// the entries of ended threads; nothing else does, so the table never outgrows the peak number of live threads.
int enter_scope();

/// Decrements it. @return The new depth; -1 and below if there were more leaves than entries.
int leave_scope();

} // namespace zar
