// Process-local objects and the named object table used by a static object at exit, and re-entered during
// construction; and a lock that a non-owner unlocks.
#include "zarlib/frame/critical_section.h"
#include "zarlib/frame/named_objects.h"

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <thread>
#include <utility>

static bool enter_again = false;

// The library's own allocations come through here (on Linux), including those of the table's construction.
void *operator new(size_t bytes) {
  if (std::exchange(enter_again, false)) nameHelperLock();
  return std::malloc(bytes);
}
void operator delete(void *block) noexcept { std::free(block); }
void operator delete(void *block, size_t) noexcept { std::free(block); }

// Constructed before anything else uses the tables, and destroyed after everything that main() builds.
static struct late_user {
  ipcObjectFrame<int, chMapFile_Local, chMutex_Local> frame, again;

  ~late_user() {
    again.OpenShareObject("late", sizeof(int));
    std::printf("kept %d\n", again.getObject());
    baseDymicAlloc::dump();
  }
} user;

int main(int, char **arguments) {
  const std::string verb = arguments[1] ? arguments[1] : "";
  user.frame.OpenShareObject("late", sizeof(int));
  user.frame.getObject() = 42;
  enter_again = verb == "re-enter";
  nameHelperLock();
  nameHelperUnlock();
  chThreadLock<chCriticalSection> lock;
  std::thread([&] { lock.Lock(); }).join();
  if (verb == "stranger") lock.Unlock();
  return 0;
}
