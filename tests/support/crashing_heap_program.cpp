// Faults inside the heap, while it is locked for all others and for itself. Its argument is the document path. 77: cannot.
#include "zarlib/crash/crash_capture.h"
#include "zarlib/text/environment.h"

#if defined(_WIN32) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

int main() { return 77; }

#else

#include <atomic>
#include <cstddef>
#include <sys/resource.h>

static std::atomic<bool> locked{false};
static volatile int *volatile nowhere = nullptr;

extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_realloc(void *block, size_t size);

extern "C" [[gnu::noinline]] void *malloc(size_t size) {
  while (locked) {
  }
  if (size == 987654) {
    locked = true;
    *nowhere = 1;
  }
  return __libc_malloc(size);
}

extern "C" void *realloc(void *block, size_t size) {
  while (locked) {
  }
  return __libc_realloc(block, size);
}

namespace crashing {
[[gnu::noinline]] void *take(size_t size) {
  void *volatile result = malloc(size);
  return result;
}
} // namespace crashing

int main(int count, char **arguments) {
  const rlimit none = {0, 0};
  setrlimit(RLIMIT_CORE, &none);
  zarSetAppDocPath(arguments[1]);
  zarHookCrashSignal();
  return crashing::take(count == 2 ? 987654 : 1) != nullptr;
}

#endif
