// Another process that holds, waits for and churns objects of the session until it is killed or told to stop.
#include "tests/support/kernel_objects_program.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>

#ifndef _WIN32
#include <csignal>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

static int say(const std::string &line, int result = 0) {
  std::puts(line.c_str());
  std::fflush(stdout);
  return result;
}

/// Opens and closes objects under a mutex that the test keeps, over and over, and notes what must not be in the ledger.
static void churn(const std::string &name, int slot) {
  objects kept(name + "-kept", -1);
  ledger &book = kept.book();
  const auto expect = [&](bool good, int fault) { book.faults |= good ? 0 : fault; };
  const auto guarded = [&](auto action) {
    const bool whole = kept.mutex.Lock(20000) == 1; // else its holder was killed; only then may the two counts differ
    expect(kept.mutex.IsLockedByThisThread() == 1, 1 /* hangs */);
    if (!whole) book.after = book.before.load();
    expect(book.before++ == book.after, 2 /* two at once */);
    action();
    ++book.after;
    kept.mutex.Unlock();
  };
  expect(kept.created() == 0, 4 /* false creator of what is held */);
  for (; !book.stop && !book.faults; ++book.rounds) {
    std::optional<objects> mine;
    guarded([&] {
      mine.emplace(name, 5000);
      expect(mine->created() < 3 || std::count(mine->bytes, mine->bytes + 5000, '\0') == 5000, 8 /* not as new */);
      for (const auto &other : book.holders) {
        const unsigned long holder = other; // a killed process reads as alive a moment longer
        const auto is_gone = [&] { return other != holder || !zarIsValidProcessID(holder); };
        expect(mine->created() == 0 || comes_true(is_gone), 16 /* false creator */);
      }
      mine->bytes[4999] = 'x';
      book.holders[slot] = zarGetCurrentProcessId();
    });
    mine->mutex.Lock(20000);
    expect(mine->mutex.IsLockedByThisThread() == 1, 32 /* hangs */);
    mine->mutex.Unlock();
    guarded([&] { book.holders[slot] = 0, mine.reset(); });
  }
}

/// Opens in step with three others, so that all four try to be the creator, and closes in step.
static void race(const std::string &name) {
  const objects kept(name + "-kept", -1);
  ledger &book = kept.book();
  const auto meet = [&] {
    const int all_here = (book.before++ / 4 + 1) * 4;
    if (!comes_true([&] { return book.before >= all_here; })) ++book.faults;
  };
  for (int round = 1; round <= 300 && !book.faults; ++round) {
    meet();
    const objects mine(name, 100);
    book.rounds += mine.created();
    meet();
    if (book.rounds != 3 * round) ++book.faults;
  }
  // Each under a name of its own, which may be the first while another closes the last there is.
  for (int round = 0; round < 300; ++round)
    if (objects own(name + std::to_string(zarGetCurrentProcessId()), 8); !own.bytes || own.created() != 3)
      ++book.faults;
}

#ifndef _WIN32
/// A life of all three. Returns whether they were as they should be, and usable.
static bool live(const std::string &name, bool as_guest) {
  objects all(name, 100);
  const bool as_new = all.created() == 3 && all.bytes[99] == 0 && !all.event.WaitEvent(0);
  if (as_guest ? all.created() != 0 : !as_new) return false;
  all.bytes[99] = 1;
  const int whole = all.mutex.Lock(1000), held = all.mutex.IsLockedByThisThread();
  all.mutex.Unlock();
  return all.event.SetEvent() && all.event.WaitEvent(0) && (as_guest ? held : whole);
}

/// Kills a child at its first system call, its second, and so on to the end of its life, and looks at what each left behind.
static int kill_at_every_call(const std::string &name, bool as_guest) {
  for (int calls = 1;; ++calls) {
    const pid_t child = fork();
    if (child == 0) {
      if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(2);
      _exit(raise(SIGSTOP) == 0 && live(name, as_guest) ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    for (int i = 0; i < calls && WIFSTOPPED(status); ++i)
      ptrace(PTRACE_SYSCALL, child, nullptr, nullptr), waitpid(child, &status, 0);
    if (WIFEXITED(status)) return say(std::to_string(calls), WEXITSTATUS(status));
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    if (!live(name, as_guest)) return say("broken after call " + std::to_string(calls), 1);
  }
}
#endif

int main(int, char **arguments) {
  const std::string verb = arguments[1], name = arguments[2];
  if (verb == "race") race(name);
  if (verb == "churn") churn(name, std::atoi(arguments[3]));
#ifndef _WIN32
  if (verb == "kill-at") return kill_at_every_call(name, std::atoi(arguments[3]) != 0);
#endif
  if (verb == "hold") { // opens all, takes the mutex, and counts every signal that it gets
    objects all(name, 100);
    say(std::to_string(all.created()) + " created, locked " + std::to_string(all.mutex.Lock(0)));
    while (all.event.WaitEvent(-1)) ++all.book().rounds;
  }
  return 0;
}
