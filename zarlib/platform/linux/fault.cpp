#include "zarlib/platform/fault.h"

#include "zarlib/platform/linux/fault_context.h"
#include "zarlib/platform/linux/guarded_step.h"
#include "zarlib/platform/linux/stopped_threads.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <initializer_list>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zar::platform {

namespace {

constexpr int fault_signals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS};

// How long a thread that faults during another's report waits for the process to die.
constexpr int wait_seconds = 60;

std::atomic<fault_report> s_report{nullptr};
std::atomic<pid_t> s_reporter{0};
std::atomic<pid_t> s_terminated{0};
std::atomic<std::terminate_handler> s_next_terminate{nullptr};

void set_default(int signal) {
  struct sigaction action = {};
  action.sa_handler = SIG_DFL;
  sigaction(signal, &action, nullptr);
}

void set_mask(int how, std::initializer_list<int> signals) {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : signals) sigaddset(&set, signal);
  sigprocmask(how, &set, nullptr);
}

void block_or_unblock_faults(int how) {
  set_mask(how, {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT, SIGALRM});
}

/// Lets the process die of this very fault: the signal, with its original siginfo, stays pending until the handler has
/// returned to the faulting instruction, and then takes the default action. The mask that the return restores may block
/// it, if the signal arrived in sigsuspend() or ppoll().
void leave_to_the_system(int signal, siginfo_t *info, void *context) {
  set_default(signal);
  sigdelset(&static_cast<ucontext_t *>(context)->uc_sigmask, signal);
  if (syscall(SYS_rt_tgsigqueueinfo, getpid(), gettid(), signal, info) != 0) raise(signal);
}

/// @return The previous action.
struct sigaction install(int signal, void (*handler)(int, siginfo_t *, void *)) {
  struct sigaction action = {}, found = {};
  action.sa_sigaction = handler;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigfillset(&action.sa_mask);
  sigaction(signal, &action, &found);
  return found;
}

void on_abort(int, siginfo_t *info, void *context);

/// The lack of descriptors or of address space may be what the process dies of; up to the hard limits there is more.
void raise_limits() {
  for (const auto resource : {RLIMIT_NOFILE, RLIMIT_AS}) {
    rlimit limit;
    if (getrlimit(resource, &limit) != 0) continue;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(resource, &limit);
  }
}

/// What the report's own writing has raised must not become the cause of death.
void drop_write_signals() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGXFSZ);
  sigaddset(&set, SIGPIPE);
  const timespec now = {};
  while (sigtimedwait(&set, nullptr, &now) > 0) continue;
}

void report_fault(siginfo_t *info, void *context, pid_t self) {
  raise_limits();
  begin_guarding(self);
  // A corrupted heap may call abort() when a step allocates against the rule; other threads may abort too.
  install(SIGABRT, on_abort);
  block_or_unblock_faults(SIG_UNBLOCK);
  const fault fault = {info, static_cast<ucontext_t *>(context), self};
  s_report.load()(fault);
  block_or_unblock_faults(SIG_BLOCK);
  end_guarding();
  drop_write_signals();
}

void wait_for_death() {
  set_mask(SIG_UNBLOCK, {stop_signal()});
  timespec left = {wait_seconds, 0};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

/// The first fault of the process is reported; a fault inside the report ends the step or the report; other threads
/// wait.
void report_once(siginfo_t *info, void *context) {
  // A cancelled thread must not end in the first system call of the report, and leave the process alive.
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
  const pid_t self = gettid();
  pid_t reporter = 0;
  if (s_reporter.compare_exchange_strong(reporter, self))
    report_fault(info, context, self);
  else if (reporter == self)
    break_off_step();
  else
    wait_for_death();
}

/// Whether another process has sent the signal in the middle of the report, which must not end it.
bool is_sent_meanwhile(const siginfo_t *info) { return info->si_code <= 0 && info->si_pid != getpid() && is_guarded(); }

void on_fault(int signal, siginfo_t *info, void *context) {
  if (is_sent_meanwhile(info)) return;
  report_once(info, context);
  leave_to_the_system(signal, info, context);
}

/// Installed on an uncaught exception, or when a report begins.
void on_abort(int, siginfo_t *info, void *context) {
  if (!is_sent_meanwhile(info)) report_once(info, context);
}

/// An uncaught exception: the thrower's frames are still on the stack, below this function. SIGABRT is raised early,
/// once, so that its handler gets the registers in the form the report expects. The program's own handler for it runs
/// afterwards.
[[noreturn]] void on_terminate() {
  // The program's own handler may in turn call the one that it has replaced, which is this one.
  if (s_terminated.exchange(gettid()) == gettid()) std::abort();
  if (std::current_exception()) {
    const struct sigaction found = install(SIGABRT, on_abort);
    set_mask(SIG_UNBLOCK, {SIGABRT});
    raise(SIGABRT);
    sigaction(SIGABRT, &found, nullptr);
  }
  const std::terminate_handler next = s_next_terminate;
  // The program's own handler may wait for its threads; the C++ runtime's ends the process at once.
  if (next != __gnu_cxx::__verbose_terminate_handler) release_all_threads();
  if (next) next();
  std::abort();
}

} // namespace

void hook_faults(fault_report report) {
  s_report = report;
  for (const int signal : fault_signals) install(signal, on_fault);
  const std::terminate_handler found = std::get_terminate();
  if (found != on_terminate) {
    s_next_terminate = found;
    std::set_terminate(on_terminate);
  }
  arm_thread();
}

} // namespace zar::platform
