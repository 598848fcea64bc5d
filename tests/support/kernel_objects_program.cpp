// Another process that holds, waits for and churns objects of the session until it is killed or told to stop.
#include "tests/support/kernel_objects_program.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <pthread.h>
#include <thread>

/// Opens and closes objects repeatedly under a mutex kept by the test, and notes violations in the ledger.
static void churn(const std::string &name) {
  objects kept(name + "-kept", -1);
  ledger &book = kept.book();
  const auto expect = [&](bool good, int fault) { book.faults |= good ? 0 : fault; };
  const auto guarded = [&](auto action) {
    const bool whole = kept.mutex.Lock(20000) == 1; // else its owner was killed; only then may the two counts differ
    expect(kept.mutex.IsLockedByThisThread() == 1, 1 /* hangs */);
    if (!whole) {
      zarDelay(50); // Wine releases the objects of a killed process while it still runs for an instant
      book.after = book.before.load();
    }
    expect(book.before++ == book.after, 2 /* two at once */);
    action();
    ++book.after;
    kept.mutex.Unlock();
  };
  expect(kept.created() == 0, 4 /* false creator of what is held */);
  for (; !book.stop && !book.faults; ++book.rounds) {
    std::optional<objects> mine;
    int generation = 0; // the same for all holders of the same objects
    guarded([&] {
      mine.emplace(name, 5000);
      expect(mine->created() < 3 || std::count(mine->bytes, mine->bytes + 5000, '\0') == 5000, 8 /* not as new */);
      mine->bytes[4999] = 'x';
      generation = book.generation += mine->created();
    });
    mine->mutex.Lock(20000);
    expect(mine->mutex.IsLockedByThisThread() == 1, 16 /* hangs */);
    mine->mutex.Unlock();
    guarded([&] {
      expect(book.generation == generation, 32 /* another one was a false creator of what is held here */);
      mine.reset();
    });
  }
}

/// Opens simultaneously with three others, so that all four try to be the creator, and closes simultaneously.
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
  // Each under its own name, which may create the first object while another process closes the last one.
  for (int round = 0; round < 300; ++round)
    if (objects own(name + std::to_string(zarGetCurrentProcessId()), 8); !own.bytes || own.created() != 3)
      ++book.faults;
}

int main(int, char **arguments) {
  const std::string verb = arguments[1], name = arguments[2];
  if (verb == "race") race(name);
  if (verb == "churn") churn(name);
  if (verb != "hold") return 0;
  // After the main thread has ended, which does not end the process: opens all, takes the mutex, and waits.
  std::thread([name, first = zarGetCurrentThreadId()] {
    while (zarIsValidThreadID(first)) zarSwitchToThread();
    objects all(name, 100);
    std::printf("%d created, locked %d\n", all.created(), all.mutex.Lock(0));
    std::fflush(stdout);
    all.event.WaitEvent(-1);
  }).detach();
  pthread_exit(nullptr);
}
