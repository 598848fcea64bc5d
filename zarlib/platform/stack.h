// Stacks as lists of program counters.
#pragma once

namespace zar::platform {

struct fault;

/// Captures the calling thread's stack. Frame 0 is the function that calls this one. Each address lies inside the
/// instruction that the frame is executing, which in a caller is its call.
/// @return The number of frames stored; only the innermost when there are more than `capacity`.
int capture_stack(unsigned long long *frames, int capacity);

/// Captures the faulting thread's stack as it was at the fault; frame 0 is exactly the faulting instruction.
/// REQUIRES: called on the faulting thread, from the report of hook_faults().
/// @return The number of frames stored; incomplete where the stack is damaged.
int walk_fault_stack(const fault &fault, unsigned long long *frames, int capacity);

} // namespace zar::platform
