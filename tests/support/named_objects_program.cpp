// The named object table at the edges of a process: used by a static object at exit, re-entered while being built, exhausted.
#include "zarlib/frame/named_objects.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <utility>

namespace {

bool enter_again = false;

struct late_user {
  int created = 1;
  ~late_user() {
    const int locked = nameHelperLock();
    const bool refused = nameGetSystemObject("late", 8, &created) == nullptr;
    nameHelperUnlock();
    std::printf("late: locked %d, refused %d, created %d\n", locked, refused, created);
  }
};

late_user user; // constructed before the table, so destroyed after it

} // namespace

#ifndef _WIN32
// The library's own allocations come through here, those of the table's construction among them.
void *operator new(size_t bytes) {
  if (std::exchange(enter_again, false)) nameHelperLock();
  if (void *const block = std::malloc(bytes)) return block;
  throw std::bad_alloc();
}
void operator delete(void *block) noexcept { std::free(block); }
void operator delete(void *block, size_t) noexcept { std::free(block); }
#endif

int main(int, char **arguments) {
  const char *const verb = arguments[1] ? arguments[1] : "";
  enter_again = std::strcmp(verb, "re-enter") == 0;
  nameHelperLock();
  for (int i = 0; std::strcmp(verb, "exhaust") == 0; ++i) {
    std::printf("block %d\n", i);
    std::fflush(stdout);
    nameGetSystemObject(std::to_string(i).c_str(), 1000, nullptr);
  }
  nameHelperUnlock();
  return 0;
}
