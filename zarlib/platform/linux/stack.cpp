#include "zarlib/platform/stack.h"

#include "zarlib/platform/fault.h"
#include "zarlib/platform/linux/fault_context.h"
#include "zarlib/platform/linux/safe_memory.h"

#include <algorithm>
#include <unwind.h>

namespace zar::platform {

namespace {

using word = unsigned long long;

/// Filled by the unwinder's callbacks.
struct collector {
  word *frames;
  int capacity;
  int count;    ///< negative while frames are still being skipped
  word from_pc; ///< if set, frames are stored from the one with this program counter and this stack pointer on
  word from_sp;
};

/// Stores one frame. The inner loop of a capture: one call into the unwinder and no more.
_Unwind_Reason_Code visit(_Unwind_Context *context, void *argument) {
  auto &to = *static_cast<collector *>(argument);
  int exact = 0;
  const word address = _Unwind_GetIPInfo(context, &exact);
  // The outermost frame of a thread has no return address.
  if (address == 0) return _URC_END_OF_STACK;
  // Moved from the return address into the preceding call.
  if (to.count >= 0) to.frames[to.count] = address - (exact ? 0 : 1);
  return ++to.count == to.capacity ? _URC_END_OF_STACK : _URC_NO_REASON;
}

_Unwind_Reason_Code visit_from_fault(_Unwind_Context *context, void *argument) {
  auto &to = *static_cast<collector *>(argument);
  if (to.count == 0 && (_Unwind_GetIP(context) != to.from_pc || _Unwind_GetCFA(context) != to.from_sp))
    return _URC_NO_REASON;
  return visit(context, argument);
}

/// Whether the unwinder knows the code there. It asks the loader, whose state may be what broke the process.
bool is_code(word address) {
  bool known = false;
  run_guarded(1000, [&] { known = _Unwind_FindEnclosingFunction(reinterpret_cast<void *>(address)) != nullptr; });
  return known;
}

/// Walks out of the reporting signal handler, over the frame that the system pushed, into the interrupted code.
int walk_through_handler(word pc, word sp, word *frames, int capacity) {
  collector to = {frames, capacity, 0, pc, sp};
  // A damaged stack can send the unwinder anywhere; what it has stored by then stays valid.
  run_guarded(3000, [&to] { _Unwind_Backtrace(visit_from_fault, &to); });
  return to.count;
}

} // namespace

[[gnu::noinline]] int capture_stack(word *frames, int capacity) {
  if (capacity < 1) return 0;
  // The first visit is to this function itself.
  collector to = {frames, capacity, -1, 0, 0};
  _Unwind_Backtrace(visit, &to);
  return to.count < 0 ? 0 : to.count;
}

int walk_fault_stack(const fault &fault, word *frames, int capacity) {
  greg_t *const registers = fault.context->uc_mcontext.gregs;
  const word pc = static_cast<word>(registers[REG_RIP]), sp = static_cast<word>(registers[REG_RSP]);
  if (capacity < 1) return 0;
  frames[0] = pc;
  if (is_code(pc)) return std::max(walk_through_handler(pc, sp, frames, capacity), 1);

  // A call through a bad pointer: the return address on the stack is where it came from. The walk starts there as if
  // the call had returned, by changing the saved registers that the unwinder reads.
  word caller = 0;
  if (!read_memory(sp, &caller, sizeof caller) || !is_code(caller - 1)) return 1;
  registers[REG_RIP] = static_cast<greg_t>(caller);
  registers[REG_RSP] = static_cast<greg_t>(sp + sizeof caller);
  const int callers = walk_through_handler(caller, sp + sizeof caller, frames + 1, capacity - 1);
  registers[REG_RIP] = static_cast<greg_t>(pc);
  registers[REG_RSP] = static_cast<greg_t>(sp);
  if (callers > 0) frames[1] = caller - 1;
  return callers + 1;
}

} // namespace zar::platform
