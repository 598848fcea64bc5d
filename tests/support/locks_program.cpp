// What can only be shown in a process that is given up: a section left held, an unlock that aborts.
#include "zarlib/frame/critical_section.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

static void nested_section() {
  static chCriticalSection section;
  section.Lock();
  section.Lock();
  section.Unlock();
  section.Unlock();
  // Another thread tries to come in; it never does while this one lives.
  static std::atomic<bool> entered{false};
  std::thread([] {
    section.Lock();
    entered = true;
  }).detach();
  for (int i = 0; i < 20 && !entered; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  std::puts(entered ? "came in" : "held for others");
  std::fflush(stdout);
  std::_Exit(0);
}

int main(int argc, char **argv) {
  if (argc == 2 && std::strcmp(argv[1], "nested-section") == 0) nested_section();
  if (argc == 2 && std::strcmp(argv[1], "stranger") == 0) {
    chThreadLock<chCriticalSection> lock;
    std::thread([&] { lock.Lock(); }).join();
    std::puts("about to unlock");
    std::fflush(stdout);
    lock.Unlock();
  }
  return 0;
}
