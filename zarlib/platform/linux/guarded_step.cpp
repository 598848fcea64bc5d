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

/// A running step and what to go back to when it breaks off.
struct step {
  sigjmp_buf resume;
  timespec deadline;
  step *outer;
};

std::atomic<pid_t> s_guarded{0};
step *s_step = nullptr; // of the guarded thread, as is all below
int s_timer = 0;
bool s_has_timer = false;

void on_timeout(int) { break_off_step(); }

/// Lets the timer ring at the end of the innermost step, or not at all.
void set_timer() {
  if (!s_has_timer) return;
  itimerspec when = {};
  if (s_step) when.it_value = s_step->deadline;
  syscall(SYS_timer_settime, s_timer, TIMER_ABSTIME, &when, nullptr);
}

timespec after(int milliseconds) {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
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

// The timer is made by the system call: the library's function may allocate, and rings on any thread.
void begin_guarding(pid_t self) {
  struct sigaction action = {};
  action.sa_handler = on_timeout;
  action.sa_flags = SA_ONSTACK;
  sigaction(SIGALRM, &action, nullptr);
  // A heap that finds itself damaged, while a step allocates against the rule, calls abort().
  sigaction(SIGABRT, &action, nullptr);

  sigevent event = {};
  event.sigev_notify = SIGEV_THREAD_ID;
  event.sigev_signo = SIGALRM;
  event._sigev_un._tid = self;
  s_has_timer = syscall(SYS_timer_create, CLOCK_MONOTONIC, &event, &s_timer) == 0;
  s_guarded = self;
}

void break_off_step() {
  if (s_guarded == gettid() && s_step) siglongjmp(s_step->resume, 1);
}

bool run_guarded(int milliseconds, void (*body)(void *), void *argument) {
  if (s_guarded != gettid()) {
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
