// Faults in the way that its first argument names; its second one is the document path. "none" lives.
#include "zarlib/crash/crash_capture.h"
#include "zarlib/crash/stack_text.h"
#include "zarlib/text/environment.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#ifndef _WIN32
#include <csignal>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

// A sanitizer would see these faults coming, and end the program in its own way.
#define UNSEEN [[gnu::noinline, gnu::no_sanitize("undefined")]]

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

[[gnu::noinline]] int throw_it(int a) {
  if (a >= zero) throw std::runtime_error("nobody catches this");
  return a;
}

[[gnu::noinline]] int stop_here(int a) {
  __builtin_trap();
  return a;
}

int print_stack(int) { return std::printf("%s", zarReadStack(-1).c_str()) < 0; }

int give_up(int a) {
  if (a > zero) std::abort();
  return a;
}

int overflow_on_thread(int a) {
  std::thread([a] {
    zarHookCrashSignal();
    overflow(a);
  }).join();
  return a;
}

/// Many threads that fault as nearly together as can be.
int fault_together(int a) {
  std::atomic<bool> go{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i)
    threads.emplace_back([&go, a] {
      while (!go) {
      }
      read_nowhere(a);
    });
  go = true;
  for (auto &thread : threads) thread.join();
  return a;
}

std::atomic<int> waiting{0};

[[gnu::noinline]] void wait_for_ever() {
  ++waiting;
  for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

int fault_beside_others(int a) {
  for (int i = 0; i < 3; ++i) std::thread(wait_for_ever).detach();
#ifndef _WIN32
  // One that lets no signal through.
  std::thread([] {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    wait_for_ever();
  }).detach();
  while (waiting < 4) std::this_thread::yield();
#endif
  return read_nowhere(a);
}

#ifndef _WIN32

/// Leaves no way back to the caller, nor to anywhere.
[[gnu::noinline]] int damage_stack(int a) {
  auto *const room = static_cast<volatile char *>(__builtin_alloca(static_cast<size_t>(a) * 64));
  room[0] = 1;
  asm volatile("movq $0x1230, %%rbp\n\tmovl $0, 0x10" ::: "memory");
  return room[0];
}

int send_fault(int a) {
  kill(getpid(), SIGBUS);
  return a;
}

int break_point(int a) {
  asm volatile("int3");
  return a;
}

/// Another process attaches to this one, as a debugger does.
int read_when_traced(int a) {
  int ready[2];
  if (pipe(ready) != 0) return 2;
  const pid_t self = getpid(), tracer = fork();
  if (tracer == 0) {
    const bool attached = ptrace(PTRACE_SEIZE, self, nullptr, nullptr) == 0;
    if (write(ready[1], attached ? "y" : "n", 1) != 1) _exit(1);
    for (;;) pause();
  }
  prctl(PR_SET_PTRACER, tracer);
  char answer = 0;
  const bool attached = read(ready[0], &answer, 1) == 1 && answer == 'y';
  std::printf("%s:%s", attached ? "traced" : "free", zarReadStack(a).c_str());
  std::fflush(stdout);
  kill(tracer, SIGKILL);
  waitpid(tracer, nullptr, 0);
  return 0;
}

#endif

using way = int (*)(int);

const std::map<std::string, way> &ways() {
  static const std::map<std::string, way> table = {
      {"none", print_stack},
      {"read", read_nowhere},
      {"divide", divide},
      {"call", call_nowhere},
      {"overflow", overflow},
      {"overflow_on_thread", overflow_on_thread},
      {"throw", throw_it},
      {"illegal", stop_here},
      {"abort", give_up},
      {"together", fault_together},
      {"beside", fault_beside_others},
#ifndef _WIN32
      {"damaged", damage_stack},
      {"sent", send_fault},
      {"breakpoint", break_point},
      {"traced", read_when_traced},
#endif
  };
  return table;
}

} // namespace

int main(int count, char **arguments) {
  if (count < 3) return 2;
#ifndef _WIN32
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
#endif
  zarSetAppDocPath(arguments[2]);
  zarHookCrashSignal();
  return ways().at(arguments[1])(5);
}
