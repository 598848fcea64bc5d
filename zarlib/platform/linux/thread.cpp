#include "zarlib/platform/thread.h"

#include "zarlib/platform/linux/status_file.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace zar::platform {

namespace {

// The build selects the initial-exec TLS model: one addition to the thread pointer instead of a call.
thread_local unsigned long t_id = 0;

[[gnu::noinline, gnu::cold]] unsigned long first_id() { return t_id = static_cast<unsigned long>(gettid()); }

std::atomic<unsigned long> process_id{0};

void forget_ids() {
  t_id = 0;
  process_id.store(0, std::memory_order_relaxed);
}

// A forked child has a new process id, and its one thread a new thread id.
const int fork_watch = pthread_atfork(nullptr, nullptr, forget_ids);

/// What /proc reports about a thread and the process that it belongs to.
struct life {
  char state = 0; ///< its letter; 0 if there is no such thread
  unsigned long process = 0;
  unsigned long threads = 0; ///< of the process; counts the main thread to the end, even if it ends first

  bool thread_runs() const { return state != 0 && state != 'Z' && state != 'X' && state != 'x'; }
};

/// /proc has an entry for every thread id, although it lists only the main thread of each process.
life life_of(unsigned long id) {
  char path[64];
  std::snprintf(path, sizeof path, "/proc/%lu/status", id);
  const status_file status(path);
  const auto number = [&](const char *line) {
    const char *const text = status.value_of(line);
    return text ? std::strtoul(text, nullptr, 10) : 0;
  };
  life result;
  if (const char *const text = status.value_of("\nState:")) std::sscanf(text, " %c", &result.state);
  result.process = number("\nTgid:");
  result.threads = number("\nThreads:");
  return result;
}

/// How often the processor has switched away from this thread.
long switches() {
  rusage usage;
  return getrusage(RUSAGE_THREAD, &usage) == 0 ? usage.ru_nvcsw + usage.ru_nivcsw : 0;
}

} // namespace

unsigned long current_process_id() {
  unsigned long id = process_id.load(std::memory_order_relaxed);
  if (id == 0) process_id.store(id = static_cast<unsigned long>(getpid()), std::memory_order_relaxed);
  return id;
}

unsigned long current_thread_id() {
  const unsigned long known = t_id;
  return known != 0 ? known : first_id();
}

bool is_current_thread(unsigned long id) { return id != 0 && id == t_id; }

bool process_is_alive(unsigned long id) {
  const life found = life_of(id);
  return found.process == id && (found.thread_runs() || found.threads > 1);
}

bool thread_is_alive(unsigned long id) { return life_of(id).thread_runs(); }

void sleep_milliseconds(int milliseconds) {
  if (milliseconds == 0) {
    sched_yield();
    return;
  }
  const auto count = static_cast<unsigned>(milliseconds);
  for (;;) {
    timespec left = {count / 1000, count % 1000 * 1000000L};
    while (nanosleep(&left, &left) != 0) {
    }
    if (milliseconds != -1) return;
  }
}

bool yield_thread() {
  const long before = switches();
  sched_yield();
  return switches() != before;
}

} // namespace zar::platform
