// A recursive lock of this process.
#pragma once

namespace zar::platform {

/// Room for the system's own lock, so that no system header is needed to hold one. 24 bytes suffice on a 32-bit target,
/// 40 on a 64-bit one; each implementation asserts it.
struct alignas(8) lock_storage {
  unsigned char bytes[sizeof(void *) == 4 ? 24 : 40];
};

/// Creates the lock, free. It must not move afterwards.
void lock_init(lock_storage &lock);
void lock_destroy(lock_storage &lock);

/// Waits without limit. Recursive: the owner may enter again and must leave as often.
/// @return The id of the calling thread.
unsigned long lock_enter(lock_storage &lock);
/// REQUIRES: the calling thread holds the lock.
void lock_leave(lock_storage &lock);

} // namespace zar::platform
