#include "zarlib/frame/static_instance.h"

#include "zarlib/platform/thread.h"
#include "zarlib/trace/console.h"

#include <cstdlib>

chThreadLock<chCriticalSection> &getStaticObjectCritical() {
  static chThreadLock<chCriticalSection> lock;
  return lock;
}

namespace zar {

bool claim_static_instance(unsigned long &builder, const char *message) {
  const unsigned long self = platform::current_thread_id();
  getStaticObjectCritical().Lock();
  const unsigned long found = builder;
  if (found == 0) builder = self;
  getStaticObjectCritical().Unlock();

  // A re-entering builder would wait for itself; a finished instance never gets here.
  if (found == self) {
    consoleWriteString(true, message);
    std::abort();
  }
  return found == 0;
}

void wait_for_static_instance() { platform::sleep_milliseconds(50); }

} // namespace zar
