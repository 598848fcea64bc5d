// Process-local objects and the named object table at the edges of a process: used by a static object at exit, re-entered while
// being built, exhausted.
#include "zarlib/frame/named_objects.h"

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <utility>

static bool enter_again = false;

// The library's own allocations come through here (on Linux), those of the table's construction among them.
void *operator new(size_t bytes) {
  if (std::exchange(enter_again, false)) nameHelperLock();
  return std::malloc(bytes);
}
void operator delete(void *block) noexcept { std::free(block); }
void operator delete(void *block, size_t) noexcept { std::free(block); }

// Constructed before anybody else touches the tables, and destroyed after all that main() builds.
static struct late_user {
  ipcObjectFrame<int, chMapFile_Local, chMutex_Local> frame, again;

  ~late_user() {
    again.OpenShareObject("late", sizeof(int));
    const int kept = again.getObject();
    again.CloseShareObject();
    frame.CloseShareObject();
    // The table is closed by now on Linux, and refuses; on Windows the library outlives the program, and it serves.
    int created = 1;
    const bool locked = nameHelperLock(), served = nameGetSystemObject("late", 8, &created) != nullptr;
    nameHelperUnlock();
    std::printf("kept %d, of one mind %d\n", kept, locked == served && served == (created == 1));
  }
} user;

int main(int, char **arguments) {
  const std::string verb = arguments[1] ? arguments[1] : "";
  user.frame.OpenShareObject("late", sizeof(int));
  user.frame.getObject() = 42;
  enter_again = verb == "re-enter";
  for (int i = 0; nameHelperLock() && verb == "exhaust"; nameHelperUnlock()) {
    nameGetSystemObject(std::to_string(i).c_str(), 1000, nullptr);
    std::printf("%d blocks\n", ++i);
    std::fflush(stdout);
  }
  nameHelperUnlock();
  return 0;
}
