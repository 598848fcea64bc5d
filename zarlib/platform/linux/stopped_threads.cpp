#include "zarlib/platform/linux/stopped_threads.h"

#include "zarlib/platform/linux/safe_memory.h"
#include "zarlib/platform/linux/status_file.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <linux/futex.h>
#include <optional>
#include <sys/syscall.h>
#include <unistd.h>

namespace zar::platform {

namespace {

constexpr size_t threads_max = 4096;
constexpr int answer_milliseconds = 250; ///< without a new answer
constexpr int held_seconds = 60;

stopped_thread *s_threads = nullptr;
std::atomic<size_t> s_count{0};
std::atomic<int> s_released{0};
std::atomic<int> s_all_released{0};

void nap() {
  timespec left = {0, 1000000};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

/// The raw system call: the C library's waiting functions are cancellation points.
int futex(std::atomic<int> &word, int operation, int value, const timespec *limit) {
  return static_cast<int>(
      syscall(SYS_futex, reinterpret_cast<int *>(&word), operation | FUTEX_PRIVATE_FLAG, value, limit, nullptr, 0));
}

/// Sleeps instead of polling: thousands of polling threads would leave the reporting one no processor time.
void wait_for(std::atomic<int> &released) {
  const timespec limit = {held_seconds, 0};
  while (!released && (futex(released, FUTEX_WAIT, 0, &limit) == 0 || errno != ETIMEDOUT)) continue;
}

void release(std::atomic<int> &released) {
  released = 1;
  futex(released, FUTEX_WAKE, INT_MAX, nullptr);
}

stopped_thread *find(pid_t id) {
  for (size_t i = 0, count = s_count; i < count; ++i)
    if (s_threads[i].id == id) return &s_threads[i];
  return nullptr;
}

/// Whether the stop interrupted a system call: the thread would see EINTR, and might take it for the end of its wait.
bool is_interrupted(const ucontext_t &context) { return context.uc_mcontext.gregs[REG_RAX] == -EINTR; }

void on_stop(int, siginfo_t *, void *argument) {
  const int saved_errno = errno;
  if (stopped_thread *const own = find(gettid())) {
    const auto *const context = static_cast<ucontext_t *>(argument);
    own->context = context;
    wait_for(is_interrupted(*context) ? s_all_released : s_released);
  }
  errno = saved_errno;
}

void list_threads(pid_t self) {
  const int folder = open("/proc/self/task", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  alignas(dirent64) char entries[4096];
  size_t count = 0;
  for (ssize_t length; (length = getdents64(folder, entries, sizeof entries)) > 0;) {
    for (ssize_t at = 0; at < length;) {
      const auto *const entry = reinterpret_cast<const dirent64 *>(entries + at);
      at += entry->d_reclen;
      const pid_t id = std::atoi(entry->d_name);
      if (id > 0 && id != self && count < threads_max) s_threads[count++].id = id;
    }
  }
  close(folder);
  s_count = count;
}

size_t answers() {
  size_t result = 0;
  for (size_t i = 0; i < s_count; ++i) result += s_threads[i].context.load() != nullptr;
  return result;
}

void await_answers(size_t expected) {
  size_t seen = 0;
  for (int silent = 0; seen < expected && silent < answer_milliseconds; ++silent) {
    nap();
    const size_t now = answers();
    if (now != seen) silent = 0;
    seen = now;
  }
}

/// The position of a thread in a system call: "number six-arguments sp pc"; words if it is not in one.
/// @return The number of the call, -1 outside of one.
int ask_system(stopped_thread &thread) {
  char path[64], text[256];
  std::snprintf(path, sizeof path, "/proc/self/task/%d/syscall", thread.id);
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0) return -1;
  const ssize_t length = read(file, text, sizeof text - 1);
  close(file);
  text[length > 0 ? length : 0] = 0;
  int number = -1;
  if (std::sscanf(text, "%d %*x %*x %*x %*x %*x %*x %llx %llx", &number, &thread.sp, &thread.pc) != 3)
    thread.sp = thread.pc = 0;
  return number;
}

/// Whether a thread would consume the signal and act on it, perhaps by ending the process: one that waits in sigwait() or
/// reads signals from a descriptor.
bool would_take_signal(stopped_thread &thread) {
  char path[64];
  std::snprintf(path, sizeof path, "/proc/self/task/%d/status", thread.id);
  // Not on the stack, which may be small; only the reporting thread comes here.
  static constinit std::optional<status_file> status;
  const char *const blocked = status.emplace(path).value_of("\nSigBlk:");
  return (blocked && std::strtoull(blocked, nullptr, 16) >> (stop_signal() - 1) & 1) ||
         ask_system(thread) == SYS_rt_sigtimedwait;
}

/// Signals the threads that were not signalled before. @return How many were.
size_t signal_threads() {
  size_t result = 0;
  for (size_t i = 0; i < s_count; ++i) {
    stopped_thread &thread = s_threads[i];
    if (thread.is_signalled || would_take_signal(thread)) continue;
    thread.is_signalled = syscall(SYS_tgkill, getpid(), thread.id, stop_signal()) == 0;
    result += thread.is_signalled;
  }
  return result;
}

/// A thread that starts, or enters a handler, blocks all signals for a moment only. @return How many were signalled.
size_t signal_threads_repeatedly() {
  size_t result = signal_threads();
  for (int tries = 0; result < s_count && tries < 10; ++tries) {
    nap();
    result += signal_threads();
  }
  return result;
}

} // namespace

stopped_threads stop_other_threads() {
  s_threads = reserve_array<stopped_thread>(threads_max);
  if (!s_threads) return {nullptr, 0};
  list_threads(gettid());

  struct sigaction action = {};
  action.sa_sigaction = on_stop;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
  sigfillset(&action.sa_mask);
  sigaction(stop_signal(), &action, nullptr);
  await_answers(signal_threads_repeatedly());
  for (size_t i = 0; i < s_count; ++i)
    if (!s_threads[i].context.load()) ask_system(s_threads[i]);
  return {s_threads, s_count};
}

void release_other_threads() { release(s_released); }

void release_all_threads() { release(s_all_released); }

} // namespace zar::platform
