#include "zarlib/frame/process_identity.h"

#include "zarlib/platform/clock.h"
#include "zarlib/platform/thread.h"

#include <atomic>
#include <cstdlib>

unsigned long zarGetCurrentProcessId() { return zar::platform::current_process_id(); }

unsigned long zarGetCurrentThreadId() { return zar::platform::current_thread_id(); }

unsigned long zarGetCurrentTaskId() { return zarGetCurrentThreadId(); }

int zarIsValidProcessID(unsigned long id) {
  if (id == 0) return 0;
  return id == zarGetCurrentProcessId() || zar::platform::process_is_alive(id);
}

int zarIsValidThreadID(unsigned long id) {
  if (id == 0) return 0;
  return id == zarGetCurrentThreadId() || zar::platform::thread_is_alive(id);
}

int zarIsValidTaskID(unsigned long id) { return zarIsValidThreadID(id); }

void zarDelay(int ms) { zar::platform::sleep_milliseconds(ms); }

void zarSleep(int ms) { zarDelay(ms); }

void zarSwitchToThread() {
  if (!zar::platform::yield_thread()) zar::platform::sleep_milliseconds(1);
}

int zarInterlockedIncrement(int &value) { return ++std::atomic_ref<int>(value); }

int zarInterlockedDecrement(int &value) { return --std::atomic_ref<int>(value); }

void zarAbort() { std::abort(); }

void zarGetLocalTime(SYSTEMTIME *time) { *time = zar::platform::read_local_time(); }
