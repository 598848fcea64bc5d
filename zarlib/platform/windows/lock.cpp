#include "zarlib/platform/lock.h"

#include "zarlib/platform/types.h"

#include <new>

namespace zar::platform {

static_assert(sizeof(CRITICAL_SECTION) <= sizeof(lock_storage));
static_assert(alignof(CRITICAL_SECTION) <= alignof(lock_storage));

static CRITICAL_SECTION *native(lock_storage &lock) { return reinterpret_cast<CRITICAL_SECTION *>(lock.bytes); }

void lock_init(lock_storage &lock) { InitializeCriticalSection(new (lock.bytes) CRITICAL_SECTION); }

void lock_destroy(lock_storage &lock) { DeleteCriticalSection(native(lock)); }

unsigned long lock_enter(lock_storage &lock) {
  EnterCriticalSection(native(lock));
  return GetCurrentThreadId();
}

void lock_leave(lock_storage &lock) { LeaveCriticalSection(native(lock)); }

} // namespace zar::platform
