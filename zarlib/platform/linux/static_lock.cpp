#include "zarlib/platform/static_lock.h"

#include "zarlib/platform/linux/futex_lock.h"

namespace zar::platform {

template <class Room>
static futex_lock &native(Room &room) {
  static_assert(sizeof(futex_lock) <= sizeof room && alignof(futex_lock) <= 8);
  return reinterpret_cast<futex_lock &>(room);
}

void static_lock::lock() { native(m_room).lock(); }

bool static_lock::try_lock() { return native(m_room).try_lock(); }

void static_lock::unlock() { native(m_room).unlock(); }

void static_lock::unlock_for_good() { unlock(); }

} // namespace zar::platform
