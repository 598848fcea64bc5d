#include "zarlib/platform/stack.h"

#include "zarlib/platform/windows/debug_help.h"
#include "zarlib/platform/windows/fault_context.h"

namespace zar::platform {

namespace {

STACKFRAME64 first_frame(const CONTEXT &context) {
  STACKFRAME64 frame = {};
#ifdef _WIN64
  frame.AddrPC.Offset = context.Rip;
  frame.AddrStack.Offset = context.Rsp;
  frame.AddrFrame.Offset = context.Rbp;
#else
  frame.AddrPC.Offset = context.Eip;
  frame.AddrStack.Offset = context.Esp;
  frame.AddrFrame.Offset = context.Ebp;
#endif
  frame.AddrPC.Mode = frame.AddrStack.Mode = frame.AddrFrame.Mode = AddrModeFlat;
  return frame;
}

/// The walk changes the context, so it gets a copy. Its bound is what ends a walk that repeats a frame for ever.
int walk(CONTEXT context, unsigned long long *frames, int capacity) {
  const debug_help_hold hold;
  STACKFRAME64 frame = first_frame(context);
  int count = 0;
  while (count < capacity && StackWalk64(g_machine, GetCurrentProcess(), GetCurrentThread(), &frame, &context, nullptr,
                                         SymFunctionTableAccess64, SymGetModuleBase64, nullptr)) {
    // A return address belongs to the call before it.
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
#ifndef _WIN64
  // Systems differ in whose registers they store here; the walk begins in the caller, by this function's own frame.
  auto *const own = static_cast<ULONG_PTR *>(__builtin_frame_address(0));
  context.Ebp = own[0];
  context.Eip = own[1];
  context.Esp = reinterpret_cast<ULONG_PTR>(own + 2);
#endif
  return walk(context, frames, capacity);
}

int walk_fault_stack(const fault &fault, unsigned long long *frames, int capacity) {
  return walk(*fault.pointers->ContextRecord, frames, capacity);
}

} // namespace zar::platform
