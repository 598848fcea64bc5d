#include "zarlib/platform/thread.h"

#include "zarlib/platform/linux/status_file.h"

#include <atomic>
#include <cstdio>
#include <ctime>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

namespace zar::platform {

namespace {

// The build asks for the initial-exec model: one addition to the thread pointer instead of a call.
thread_local unsigned long t_id = 0;

[[gnu::noinline, gnu::cold]] unsigned long first_id() { return t_id = static_cast<unsigned long>(gettid()); }

std::atomic<unsigned long> process_id{0};

void forget_ids() {
  t_id = 0;
  process_id.store(0, std::memory_order_relaxed);
}

// A forked child has a new id, and its first thread too; the other threads do not exist there.
const int fork_watch = pthread_atfork(nullptr, nullptr, forget_ids);

/// The state letter and the thread group of a /proc status file.
bool read_status(const char *path, char &state, unsigned long &group) {
  const status_file status(path);
  const char *const state_text = status.value_of("\nState:");
  const char *const group_text = status.value_of("\nTgid:");
  return state_text && group_text && std::sscanf(state_text, " %c", &state) == 1 &&
         std::sscanf(group_text, " %lu", &group) == 1;
}

bool runs(char state) { return state != 'Z' && state != 'X' && state != 'x'; }

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
  char path[64], state = 0;
  unsigned long group = 0;
  std::snprintf(path, sizeof path, "/proc/%lu/status", id);
  return read_status(path, state, group) && group == id && runs(state);
}

bool thread_is_alive(unsigned long id) {
  // /proc answers for any thread under its own number, although it lists only the group leaders.
  char path[64], state = 0;
  unsigned long group = 0;
  std::snprintf(path, sizeof path, "/proc/%lu/status", id);
  return read_status(path, state, group) && runs(state);
}

void sleep_milliseconds(int milliseconds) {
  if (milliseconds <= 0) {
    sched_yield();
    return;
  }
  timespec left = {milliseconds / 1000, milliseconds % 1000 * 1000000L};
  while (nanosleep(&left, &left) != 0) {
  }
}

bool yield_thread() {
  sched_yield();
  return true;
}

} // namespace zar::platform
