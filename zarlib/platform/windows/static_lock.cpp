#include "zarlib/platform/static_lock.h"

#include "zarlib/platform/types.h"

namespace zar::platform {

// SRWLOCK_INIT is all zero.
template <class Room>
static SRWLOCK *native(Room &room) {
  static_assert(sizeof(SRWLOCK) <= sizeof room && alignof(SRWLOCK) <= 8);
  return reinterpret_cast<SRWLOCK *>(room);
}

void static_lock::lock() { AcquireSRWLockExclusive(native(m_room)); }

bool static_lock::try_lock() { return TryAcquireSRWLockExclusive(native(m_room)) != 0; }

void static_lock::unlock() { ReleaseSRWLockExclusive(native(m_room)); }

void static_lock::unlock_for_good() { *native(m_room) = SRWLOCK_INIT; }

} // namespace zar::platform
