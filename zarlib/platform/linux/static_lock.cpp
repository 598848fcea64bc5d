#include "zarlib/platform/static_lock.h"

#include <pthread.h>

namespace zar::platform {

// The C library's static initialiser is all zero.
template <class Room>
static pthread_mutex_t *native(Room &room) {
  static_assert(sizeof(pthread_mutex_t) <= sizeof room && alignof(pthread_mutex_t) <= 8);
  return reinterpret_cast<pthread_mutex_t *>(room);
}

void static_lock::lock() { pthread_mutex_lock(native(m_room)); }

bool static_lock::try_lock() { return pthread_mutex_trylock(native(m_room)) == 0; }

void static_lock::unlock() { pthread_mutex_unlock(native(m_room)); }

} // namespace zar::platform
