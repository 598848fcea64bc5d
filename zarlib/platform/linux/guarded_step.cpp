#include "zarlib/platform/linux/guarded_step.h"

#include "zarlib/platform/fault.h"

#include <atomic>
#include <csetjmp>
#include <csignal>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

namespace zar::platform {

namespace {

/// A running step and where to resume when it is aborted.
struct step {
  sigjmp_buf resume;
  timespec deadline;
  step *outer;
};

std::atomic<pid_t> s_guarded{0};
step *s_step = nullptr; // of the guarded thread, as is all below
int s_timer = 0;
bool s_has_timer = false;
struct sigaction s_alarm_action; // the program's own

timespec now() {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time;
}

bool is_over(const timespec &deadline) {
  const timespec time = now();
  return time.tv_sec != deadline.tv_sec ? time.tv_sec > deadline.tv_sec : time.tv_nsec >= deadline.tv_nsec;
}

/// The program may have a timer with the same signal; it must not end a step.
void on_alarm(int) {
  if (is_guarded() && s_step && is_over(s_step->deadline)) break_off_step();
}

/// Arms the timer for the end of the innermost step, or disarms it.
void set_timer() {
  if (!s_has_timer) return;
  itimerspec when = {};
  if (s_step) when.it_value = s_step->deadline;
  syscall(SYS_timer_settime, s_timer, TIMER_ABSTIME, &when, nullptr);
}

timespec after(int milliseconds) {
  timespec time = now();
  time.tv_sec += milliseconds / 1000;
  time.tv_nsec += milliseconds % 1000 * 1000000L;
  if (time.tv_nsec >= 1000000000) {
    ++time.tv_sec;
    time.tv_nsec -= 1000000000;
  }
  return time;
}

void leave(const step &done) {
  s_step = done.outer;
  set_timer();
}

} // namespace

// The timer is created by the raw system call: the library's function may allocate, and may notify any thread.
void begin_guarding(pid_t self) {
  struct sigaction action = {};
  action.sa_handler = on_alarm;
  action.sa_flags = SA_ONSTACK | SA_RESTART;
  sigaction(SIGALRM, &action, &s_alarm_action);

  sigevent event = {};
  event.sigev_notify = SIGEV_THREAD_ID;
  event.sigev_signo = SIGALRM;
  event._sigev_un._tid = self;
  s_has_timer = syscall(SYS_timer_create, CLOCK_MONOTONIC, &event, &s_timer) == 0;
  s_guarded = self;
}

void end_guarding() {
  s_guarded = 0;
  if (s_has_timer) syscall(SYS_timer_delete, s_timer);
  sigaction(SIGALRM, &s_alarm_action, nullptr);
}

bool is_guarded() { return s_guarded == gettid(); }

void break_off_step() {
  if (is_guarded() && s_step) siglongjmp(s_step->resume, 1);
}

bool run_guarded(int milliseconds, void (*body)(void *), void *argument) {
  if (!is_guarded()) {
    body(argument);
    return true;
  }
  step here;
  here.outer = s_step;
  here.deadline = after(milliseconds);
  if (sigsetjmp(here.resume, 1) != 0) {
    leave(here);
    return false;
  }
  s_step = &here;
  set_timer();
  body(argument);
  leave(here);
  return true;
}

} // namespace zar::platform
