// The tracer in its own process: trace_program FOLDER MODE. FOLDER becomes the current directory, so that log files
// need no path.
#include "zarlib/trace/console.h"
#include "zarlib/trace/trace.h"
#include "zarlib/trace/tracer_manager.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>
#include <thread>

#ifndef _WIN32
// The tracer allocates during its construction; this makes a trace call from inside.
static std::atomic<bool> reenter{false};

void *operator new(std::size_t size) {
  if (reenter.exchange(false)) zarTrace(5, "from inside");
  if (void *const p = std::malloc(size ? size : 1)) return p;
  throw std::bad_alloc();
}

void operator delete(void *p) noexcept { std::free(p); }
void operator delete(void *p, std::size_t) noexcept { std::free(p); }
#endif

static void write_to_both_streams() {
  consoleWriteString(false, std::string("out\0hidden", 10));
  consolePrintf(true, "%s", std::string(5000, 'x').c_str());
  simpTRACE("%s", std::string(9000, 'y').c_str());
  zarOutputWarningString("%s%c hidden", "misuse", 0);
}

static void print_option() {
  uCTraceHelper &tracer = uCTraceHelper::getInstance();
  std::printf("%d %d", tracer.GetOutputLevel(), tracer.GetOutputMethod());
  tracer.ResetTraceLevel(-1);
  std::printf(" %d\n", tracer.GetOutputLevel());
}

/// Threads race for the first trace call, and are still tracing when the process ends.
static void race_for_the_first_trace() {
  static std::atomic<int> waiting{8}, beginning{8};
  for (int i = 0; i < 8; ++i)
    std::thread([] {
      for (--waiting; waiting > 0;) continue;
      zarTrace(5, "racer");
      for (--beginning;;) zarTrace(5, "racer");
    }).detach();
  while (beginning > 0) std::this_thread::yield();
}

int main(int, char **argv) {
  std::filesystem::current_path(argv[1]);
  const std::string mode = argv[2];
  if (mode == "streams") write_to_both_streams();
  if (mode == "option") print_option();
  if (mode == "lines")
    for (int i = 0; i < 100; ++i) zarTrace(i % 2 ? 6 : 5, "line %d", i);
  if (mode == "warning") zarWarningMessage("a.cpp", 12, "odd %d", 7);
  if (mode == "error") zarErrorMessage("a.cpp", 12, "odd %d", 7);
  if (mode == "race") race_for_the_first_trace();
#ifndef _WIN32
  if ((reenter = mode == "re-enter")) zarTrace(5, "first");
#endif
  return 0;
}
