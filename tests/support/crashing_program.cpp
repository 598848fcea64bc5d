// Faults in the way named by the first argument; the second is the document path. "none" does not fault.
#include "zarlib/crash/crash_capture.h"
#include "zarlib/crash/stack_text.h"
#include "zarlib/text/environment.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <latch>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#ifndef _WIN32
#include <csignal>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>
#endif

namespace {

// A sanitizer would detect these faults first, and end the program in its own way.
#define UNSEEN [[gnu::noinline]] __attribute__((no_sanitize("undefined")))

volatile int zero = 0, seven = 7;
int *volatile nowhere = nullptr;
int (*volatile no_function)(int) = nullptr;

UNSEEN int read_nowhere(int depth) { return depth > 0 ? read_nowhere(depth - 1) + zero : *nowhere + 1; }

UNSEEN int divide(int a) { return (seven + a) / zero + 1; }

UNSEEN int call_nowhere(int a) { return no_function(a) + 1; }

[[gnu::noinline]] int overflow(int a) {
  volatile char room[4096];
  room[0] = static_cast<char>(a);
  return (zero ? 0 : overflow(a + 1)) + room[0];
}

[[gnu::noinline]] int stop_here(int) { __builtin_trap(); }

int print_stack(int) { return std::printf("%s", zarReadStack(-1).c_str()) < 0; }

/// Many threads that fault as simultaneously as possible.
int fault_together(int a) {
  std::latch all_here(8);
  std::vector<std::jthread> threads;
  for (int i = 0; i < 8; ++i) threads.emplace_back([&] { all_here.arrive_and_wait(), read_nowhere(a); });
  return a;
}

#ifndef _WIN32

/// After the main thread has ended. The program exits normally if the waiting thread is interrupted by the other's
/// death.
int overflow_on_thread(int a) {
  std::thread([] { std::exit(pause() + 1); }).detach();
  std::thread([a] { zarHookCrashSignal(), overflow(a); }).detach();
  pthread_exit(nullptr);
}

[[gnu::noinline]] int throw_it(int a) { return a < zero ? a : throw std::runtime_error("nobody catches this"); }

/// With the program's own handlers, one of which joins a thread that is waiting.
int throw_handled(int a) {
  static std::thread worker(usleep, 999999);
  std::set_terminate([] { worker.join(), std::abort(); });
  return std::signal(SIGABRT, [](int) { _exit(3); }), zarHookCrashSignal(), throw_it(a);
}

/// A timer of the program.
void ring_often() {
  const itimerval often = {{0, 1000}, {0, 1000}};
  std::signal(SIGALRM, [](int) {}), setitimer(ITIMER_REAL, &often, nullptr);
}

std::latch waiting(5);

[[gnu::noinline]] void wait_for_ever() {
  waiting.count_down();
  for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

int fault_beside_others(int a) {
  for (int i = 0; i < 3; ++i) std::thread(wait_for_ever).detach();
  std::thread([] { // waits for all signals itself
    sigset_t all;
    sigfillset(&all), pthread_sigmask(SIG_BLOCK, &all, nullptr), waiting.count_down(), exit(sigwaitinfo(&all, nullptr));
  })
      .detach();
  waiting.arrive_and_wait();
  return read_nowhere(a);
}

/// Destroys the frame pointer, so that the caller cannot be found.
[[gnu::noinline]] int damage_stack(int a) {
  auto *const room = static_cast<volatile char *>(__builtin_alloca(static_cast<size_t>(a) * 64));
  room[0] = 1;
  asm volatile("movq $0x1230, %%rbp\n\tmovl $0, 0x10" ::: "memory");
  return room[0];
}

/// While another thread aborts in the middle of the report.
int send_fault(int a) {
  ring_often();
  std::thread([] {
    while (std::filesystem::is_empty(zarGetAppDocPath() + "/log")) continue;
    std::abort();
  }).detach();
  return raise(SIGBUS) + a; // to this thread; kill() would let the system choose one
}

/// Faults inside the heap, which then blocks further allocations; after it where a sanitizer replaces the heap.
UNSEEN int take(int) {
  void *volatile const block = std::malloc(987654);
  return block ? *nowhere + 1 : 0;
}

int read_when_traced(int a) {
  if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) return std::printf("no tracing");
  return print_stack(a);
}

#endif

const std::map<std::string, int (*)(int)> ways = {
    {"none", print_stack},
    {"abort", [](int) -> int { std::abort(); }},
    {"read", read_nowhere},
    {"divide", divide},
    {"call", call_nowhere},
    {"overflow", overflow},
    {"illegal", stop_here},
    {"together", fault_together},
#ifndef _WIN32
    {"overflow_on_thread", overflow_on_thread},
    {"throw", [](int a) { return ring_often(), throw_it(a); }},
    {"beside", fault_beside_others},
    {"damaged", damage_stack},
    {"sent", send_fault},
    {"heap", take},
    {"traced", read_when_traced},
    {"throw_handled", throw_handled},
#endif
};

} // namespace

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
extern "C" void *__libc_malloc(size_t size);

extern "C" [[gnu::noinline]] void *malloc(size_t size) {
  static volatile bool locked = false;
  while (locked) {
  }
  if (size == 987654) locked = true, *nowhere = 1;
  return __libc_malloc(size);
}
#endif

int main(int, char **arguments) {
#ifndef _WIN32
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
#endif
  zarSetAppDocPath(arguments[2]);
  zarHookCrashSignal();
  return ways.at(arguments[1])(5);
}
