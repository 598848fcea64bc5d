// Another process that holds, waits for and churns objects of the session until it is killed or told to stop.
#include "zarlib/frame/kernel_objects.h"
#include "zarlib/frame/process_identity.h"

#include "tests/support/kernel_ledger.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#ifndef _WIN32
#include <csignal>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

void say(const std::string &line) {
  std::puts(line.c_str());
  std::fflush(stdout);
}

/// Opens everything, takes the mutex, and waits for its end.
void hold(const std::string &name) {
  chEvent event;
  chMutex mutex;
  chMapFile map;
  event.OpenEventA(name);
  mutex.OpenMutexA(name);
  auto *const bytes = static_cast<char *>(map.OpenMapFile(name, 100));
  const int created = event.IsCreateByMe() + mutex.IsCreateByMe() + map.IsCreateByMe();
  bytes[99] = 'h';
  say(std::to_string(created) + " created, locked " + std::to_string(mutex.Lock(-1)));
  std::getchar();
}

/// Counts every signal that it gets.
void take(const std::string &name) {
  chEvent event;
  chMapFile map;
  event.OpenEventA(name);
  kernel_ledger &ledger = *static_cast<kernel_ledger *>(map.OpenMapFile(name, sizeof(kernel_ledger)));
  say("waiting");
  while (!ledger.stop)
    if (event.WaitEvent(-1)) ++ledger.rounds;
}

class churner {
public:
  churner(const std::string &name, int slot) : m_name(name), m_slot(slot) {
    m_ledger = static_cast<kernel_ledger *>(m_book.OpenMapFile(name + "-ledger"));
    check(m_ledger && m_guard.OpenMutexA(name + "-guard"), "no ledger");
    check(m_bell.OpenEventA(name + "-bell"), "no bell");
    check(!m_book.IsCreateByMe() && !m_guard.IsCreateByMe() && !m_bell.IsCreateByMe(), "false creator of what is held");
  }

  ~churner() {
    m_book.CloseMapFile();
    m_guard.CloseMutex();
  }

  void run() {
    for (; !m_ledger->stop; ++m_ledger->rounds) {
      chMapFile map;
      guarded([&](bool whole) { open_subject(map, whole); });
      chMutex mutex;
      check(mutex.OpenMutexA(m_name), "mutex refused");
      lock(mutex);
      mutex.Unlock();
      mutex.CloseMutex();
      m_bell.SetEvent();
      m_bell.WaitEvent(1);
      guarded([&](bool) {
        m_ledger->holders[m_slot] = 0;
        map.CloseMapFile();
      });
    }
  }

private:
  void check(bool good, const char *what) {
    if (good) return;
    if (m_ledger) ++m_ledger->faults;
    say(what);
    std::exit(1);
  }

  bool lock(chMutex &mutex) {
    const bool whole = mutex.Lock(20000) == 1;
    check(mutex.IsLockedByThisThread() == 1, "hangs");
    return whole;
  }

  /// Only a holder's death may leave the two counts apart.
  template <class Action>
  void guarded(Action action) {
    const bool whole = lock(m_guard);
    if (!whole) m_ledger->after = m_ledger->before.load();
    check(m_ledger->before++ == m_ledger->after, "two at once");
    action(whole);
    ++m_ledger->after;
    m_guard.Unlock();
  }

  /// @param whole  False when the last to be here was killed. He may still be on his way out, with the block half filled.
  void open_subject(chMapFile &map, bool whole) {
    auto *const bytes = static_cast<char *>(map.OpenMapFile(m_name, 5000));
    check(bytes, "mapping refused");
    if (map.IsCreateByMe()) {
      check(std::all_of(bytes, bytes + 5000, [](char c) { return c == 0; }), "not zero-filled");
      for (int i = 0; i < kernel_ledger::workers; ++i) check(is_gone(i), "false creator");
    }
    if (map.IsCreateByMe() || !whole) std::fill(bytes, bytes + 5000, 'x');
    check(bytes[0] == 'x' && bytes[4999] == 'x', "a guest before the creator was done");
    m_ledger->holders[m_slot] = zarGetCurrentProcessId();
  }

  /// A killed process lets go of its objects a moment before it reads as dead.
  bool is_gone(int slot) {
    const unsigned long holder = m_ledger->holders[slot];
    for (int tries = 0; tries < 10000; ++tries, zarDelay(1))
      if (m_ledger->holders[slot] != holder || !zarIsValidProcessID(holder)) return true;
    return false;
  }

  const std::string m_name;
  const int m_slot;
  chMapFile m_book;
  chMutex m_guard;
  chEvent m_bell;
  kernel_ledger *m_ledger = nullptr;
};

#ifndef _WIN32
/// A life of all three; returns whether it found them as new and usable.
bool live(const std::string &name, bool as_guest) {
  chEvent event;
  chMutex mutex;
  chMapFile map;
  bool good = event.OpenEventA(name) && mutex.OpenMutexA(name);
  auto *const bytes = static_cast<char *>(map.OpenMapFile(name, 100));
  const int created = event.IsCreateByMe() + mutex.IsCreateByMe() + map.IsCreateByMe();
  good = good && bytes && created == (as_guest ? 0 : 3) && (as_guest || (bytes[99] == 0 && !event.WaitEvent(0)));
  if (!good) return false;
  bytes[99] = 1;
  const int locked = mutex.Lock(1000);
  good = as_guest ? mutex.IsLockedByThisThread() : locked;
  mutex.Unlock();
  event.SetEvent();
  good = good && event.WaitEvent(0);
  map.CloseMapFile();
  mutex.CloseMutex();
  return good;
}

/// Kills a child at its first system call, its second, and so on to the end of its life, and looks at what each left behind.
int kill_at_every_call(const std::string &name, bool as_guest) {
  for (int calls = 1;; ++calls) {
    const pid_t child = fork();
    if (child == 0) {
      if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(2);
      raise(SIGSTOP);
      _exit(live(name, as_guest) ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    for (int i = 0; i < calls && WIFSTOPPED(status); ++i) {
      ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
      waitpid(child, &status, 0);
    }
    if (WIFEXITED(status)) return say(std::to_string(calls)), WEXITSTATUS(status);
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    if (!live(name, as_guest)) return say("broken after call " + std::to_string(calls)), 1;
  }
}
#endif

} // namespace

int main(int count, char **arguments) {
  const std::string verb = count > 2 ? arguments[1] : "", name = count > 2 ? arguments[2] : "";
  if (verb == "hold") hold(name);
  if (verb == "take") take(name);
  if (verb == "churn") churner(name, std::atoi(arguments[3])).run();
#ifndef _WIN32
  if (verb == "kill-at") return kill_at_every_call(name, std::atoi(arguments[3]) != 0);
#endif
  return 0;
}
