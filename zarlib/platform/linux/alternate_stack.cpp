// The alternate stack of a thread, on which handlers run when the main one has overflowed.
#include "zarlib/platform/fault.h"

#include <csignal>
#include <sys/mman.h>
#include <unistd.h>

namespace zar::platform {

namespace {

// Room for the unwinder, reading symbols and demangling long names. Pages are committed only when touched.
constexpr size_t stack_bytes = 256 * 1024;

/// The alternate stack of one thread; not created if the thread already has one as large. A small one, as
/// other runtimes install for their own handlers, is replaced until the thread ends.
class alternate_stack {
public:
  alternate_stack() {
    if (sigaltstack(nullptr, &m_found) != 0 || (m_found.ss_flags & SS_ONSTACK)) return;
    if (!(m_found.ss_flags & SS_DISABLE) && m_found.ss_size >= stack_bytes) return;
    const size_t guard = static_cast<size_t>(getpagesize());
    void *const memory =
        mmap(nullptr, guard + stack_bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) return;
    mprotect(memory, guard, PROT_NONE);
    m_memory = memory;
    m_bytes = guard + stack_bytes;
    stack_t stack = {};
    stack.ss_sp = static_cast<char *>(memory) + guard;
    stack.ss_size = stack_bytes;
    sigaltstack(&stack, nullptr);
  }
  alternate_stack(const alternate_stack &) = delete;
  alternate_stack &operator=(const alternate_stack &) = delete;

  // A stack that someone else has installed since is left alone.
  ~alternate_stack() {
    stack_t found;
    if (!m_memory || sigaltstack(nullptr, &found) != 0) return;
    const auto own = static_cast<char *>(m_memory);
    const auto current = static_cast<char *>(found.ss_sp);
    if (current > own && current < own + m_bytes) {
      if (found.ss_flags & SS_ONSTACK) return;
      sigaltstack(&m_found, nullptr);
    }
    munmap(m_memory, m_bytes);
  }

private:
  stack_t m_found = {};
  void *m_memory = nullptr;
  size_t m_bytes = 0;
};

// Separate from the object, whose thread_local guard would cost a call.
thread_local bool t_armed = false;

} // namespace

void arm_thread() {
  if (t_armed) return;
  t_armed = true;
  thread_local const alternate_stack stack;
}

} // namespace zar::platform
