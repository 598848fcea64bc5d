// Stacks as program counters.
#pragma once

namespace zar::platform {

struct fault;

/// Takes the calling thread's stack. Frame 0 is the function that calls this one. Addresses lie inside the instruction that a
/// frame executes, which for a caller is its call.
/// @return The number of frames stored; the innermost ones, where there are more than `capacity`.
int capture_stack(unsigned long long *frames, int capacity);

/// Takes the stack of the faulting thread as it was at the fault; frame 0 is the faulting instruction, exactly.
/// REQUIRES: called on the thread of the fault, from the report of hook_faults().
/// @return The number of frames stored; less than there are where the stack is damaged.
int walk_fault_stack(const fault &fault, unsigned long long *frames, int capacity);

} // namespace zar::platform
