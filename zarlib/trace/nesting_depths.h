// How deep the scope tracers of each thread are nested.
#pragma once

namespace zar {

/// Adds 1 to the depth of the calling thread. @return The depth before. A thread that is new here starts at 0 and drops the
/// entries of threads that have ended; nothing else does, so the table is no longer than the number of threads that lived at once.
int enter_scope();

/// Takes 1 away. @return The depth after; -1 and below when there were more leaves than entries.
int leave_scope();

} // namespace zar
