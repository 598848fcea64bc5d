// The tracer in a process of its own: trace_program FOLDER MODE [ARGUMENT]. It works in FOLDER, so that log files can be named without one.
#include "zarlib/frame/process_identity.h"
#include "zarlib/trace/trace.h"
#include "zarlib/trace/tracer_manager.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <vector>

#ifndef _WIN32
#include <sys/wait.h>
#include <unistd.h>

// The tracer allocates while it is built; this is the way in for a trace call from inside.
static std::atomic<bool> reenter{false};

void *operator new(std::size_t size) {
  if (reenter.exchange(false)) zarTrace(5, "from inside");
  if (void *const p = std::malloc(size ? size : 1)) return p;
  throw std::bad_alloc();
}

void operator delete(void *p) noexcept { std::free(p); }
void operator delete(void *p, std::size_t) noexcept { std::free(p); }

static void come_back_while_building() {
  reenter = true;
  zarTrace(5, "first");
}

static void fork_and_trace() {
  zarTrace(5, "parent before");
  const pid_t child = fork();
  if (child == 0) zarTrace(5, "child");
  if (child == 0) _exit(0);
  int status = 0;
  waitpid(child, &status, 0);
  zarTrace(5, "parent after %d", status);
}
#endif

static uCTraceHelper &tracer() { return uCTraceHelper::getInstance(); }

static void print_option(const char *when) {
  std::printf("%s %d %d\n", when, tracer().GetOutputLevel(), tracer().GetOutputMethod());
}

/// Threads race for the first use; "one" means that all got the same tracer.
static void race_for_the_first_use() {
  std::atomic<int> waiting{8};
  std::vector<uCTraceHelper *> seen(8);
  std::vector<std::thread> threads;
  for (auto &slot : seen)
    threads.emplace_back([&] {
      --waiting;
      while (waiting > 0) {
      }
      slot = &tracer();
      zarTrace(5, "racer");
    });
  for (auto &thread : threads) thread.join();
  std::printf("%s\n", std::set<uCTraceHelper *>(seen.begin(), seen.end()).size() == 1 ? "one" : "several");
}

/// The process ends while threads are in the middle of their lines.
static void end_while_threads_trace() {
  static std::atomic<int> running{0};
  for (int i = 0; i < 3; ++i)
    std::thread([] {
      for (++running;;) zarTrace(5, "still here");
    }).detach();
  while (running < 3) zarSwitchToThread();
}

int main(int argc, char **argv) {
  if (argc < 3) return 2;
  std::filesystem::current_path(argv[1]);
  const std::string mode = argv[2];
  if (mode == "option") print_option("at first");
  if (mode == "reset") {
    tracer().ResetTraceLevel(4);
    tracer().RedirectToNull();
    print_option("own");
    tracer().ResetTraceLevel(-1);
    print_option("system's");
  }
  if (mode == "lines")
    for (int i = 0; i < std::atoi(argv[3]); ++i) zarTrace(5, "line %d", i);
  if (mode == "levels")
    for (const int level : {3, 4, 5, 6}) zarTrace(level, "level %d", level);
  if (mode == "warning") zarWarningMessage("a.cpp", 12, "odd %d", 7);
  if (mode == "error") zarErrorMessage("a.cpp", 12, "gone %d", 7);
  if (mode == "race") race_for_the_first_use();
  if (mode == "end") end_while_threads_trace();
#ifndef _WIN32
  if (mode == "re-enter") come_back_while_building();
  if (mode == "fork") fork_and_trace();
#endif
  return 0;
}
