#include "zarlib/platform/stack.h"

#include "zarlib/platform/windows/debug_help.h"
#include "zarlib/platform/windows/fault_context.h"

namespace zar::platform {

namespace {

STACKFRAME64 first_frame(const CONTEXT &context) {
  STACKFRAME64 frame = {};
  frame.AddrPC.Offset = context.Eip;
  frame.AddrStack.Offset = context.Esp;
  frame.AddrFrame.Offset = context.Ebp;
  frame.AddrPC.Mode = frame.AddrStack.Mode = frame.AddrFrame.Mode = AddrModeFlat;
  return frame;
}

bool is_in_module(DWORD address) {
  const debug_help_hold hold;
  return SymGetModuleBase64(GetCurrentProcess(), address) != 0;
}

/// Whether a step has left the walk in place; such a step is the last.
bool stands_at(const STACKFRAME64 &frame, const STACKFRAME64 &before) {
  return frame.AddrPC.Offset == before.AddrPC.Offset && frame.AddrStack.Offset == before.AddrStack.Offset &&
         frame.AddrFrame.Offset == before.AddrFrame.Offset;
}

/// The walk changes the context, so it gets a copy.
int walk(CONTEXT context, unsigned long long *frames, int capacity) {
  const debug_help_hold hold;
  STACKFRAME64 frame = first_frame(context);
  int count = 0;
  for (STACKFRAME64 before = {}; count < capacity; before = frame) {
    if (!StackWalk64(g_machine, GetCurrentProcess(), GetCurrentThread(), &frame, &context, nullptr,
                     SymFunctionTableAccess64, SymGetModuleBase64, nullptr) ||
        stands_at(frame, before))
      break;
    // A return address is attributed to the call before it.
    frames[count] = frame.AddrPC.Offset - (count > 0 ? 1 : 0);
    ++count;
  }
  return count;
}

} // namespace

[[gnu::noinline]] int capture_stack(unsigned long long *frames, int capacity) {
  if (capacity < 1) return 0;
  CONTEXT context;
  RtlCaptureContext(&context);
  // Systems differ in whose registers they store here; the walk starts in the caller, from this function's own frame.
  auto *const own = static_cast<DWORD *>(__builtin_frame_address(0));
  context.Ebp = own[0];
  context.Eip = own[1];
  context.Esp = reinterpret_cast<DWORD>(own + 2);
  return walk(context, frames, capacity);
}

int walk_fault_stack(const fault &fault, unsigned long long *frames, int capacity) {
  CONTEXT context = *fault.pointers->ContextRecord;
  DWORD caller = 0;
  const bool lost =
      capacity > 1 && !is_in_module(context.Eip) &&
      ReadProcessMemory(GetCurrentProcess(), reinterpret_cast<void *>(context.Esp), &caller, sizeof caller, nullptr) &&
      is_in_module(caller);
  if (!lost) return walk(context, frames, capacity);

  // A call through a bad pointer has left its return address on the stack; the walk continues as if it had returned.
  frames[0] = context.Eip;
  context.Eip = caller - 1;
  context.Esp += sizeof caller;
  return 1 + walk(context, frames + 1, capacity - 1);
}

} // namespace zar::platform
