#include "zarlib/platform/lock.h"

#include <new>
#include <pthread.h>

namespace zar::platform {

static_assert(sizeof(pthread_mutex_t) <= sizeof(lock_storage));
static_assert(alignof(pthread_mutex_t) <= alignof(lock_storage));

static pthread_mutex_t *native(lock_storage &lock) { return reinterpret_cast<pthread_mutex_t *>(lock.bytes); }

void lock_init(lock_storage &lock) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(new (lock.bytes) pthread_mutex_t, &attributes);
  pthread_mutexattr_destroy(&attributes);
}

void lock_destroy(lock_storage &lock) { pthread_mutex_destroy(native(lock)); }

void lock_enter(lock_storage &lock) { pthread_mutex_lock(native(lock)); }

void lock_leave(lock_storage &lock) { pthread_mutex_unlock(native(lock)); }

} // namespace zar::platform
