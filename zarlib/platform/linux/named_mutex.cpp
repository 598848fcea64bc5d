#include "zarlib/platform/named_mutex.h"

#include "zarlib/platform/linux/shared_object.h"
#include "zarlib/platform/linux/wait_limit.h"
#include "zarlib/platform/thread.h"

#include <atomic>
#include <cerrno>
#include <pthread.h>

namespace zar::platform {

struct named_mutex {
  std::shared_ptr<shared_object> object;
};

namespace {

/// The object's data. The C library's mutex decides who holds it; only the holder writes the other two words.
struct mutex_state {
  pthread_mutex_t lock;
  std::atomic<std::uint32_t> owner; // thread id, 0 while free; left behind by a dead holder
  std::uint32_t depth;
};

mutex_state &state_of(const shared_object &object) { return *static_cast<mutex_state *>(object.data()); }

void prepare(void *data) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
  pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  pthread_mutex_init(&static_cast<mutex_state *>(data)->lock, &attributes);
  pthread_mutexattr_destroy(&attributes);
}

/// Whether a thread of this process holds the mutex: it is then in that thread's robust list, and must stay mapped
/// until the thread ends.
bool held_by_this_process(const void *data) {
  const std::uint32_t owner = static_cast<const mutex_state *>(data)->owner.load(std::memory_order_relaxed);
  return owner != 0 && access(("/proc/self/task/" + std::to_string(owner)).c_str(), F_OK) == 0;
}

constexpr object_type mutex_type = {2, prepare, held_by_this_process};

class errno_keeper {
public:
  errno_keeper() = default;
  errno_keeper(const errno_keeper &) = delete;
  errno_keeper &operator=(const errno_keeper &) = delete;
  ~errno_keeper() { errno = m_value; }

private:
  const int m_value = errno;
};

#ifdef __SANITIZE_THREAD__
// ThreadSanitizer's run-time recognises a dead holder only in this call.
int lock_within(pthread_mutex_t &lock, std::chrono::nanoseconds slice) {
  const auto end = wait_limit::clock::now() + slice;
  for (;;) {
    const int result = pthread_mutex_trylock(&lock);
    if (result != EBUSY || wait_limit::clock::now() >= end) return result;
    sleep_milliseconds(1);
  }
}
#else
int lock_within(pthread_mutex_t &lock, std::chrono::nanoseconds slice) {
  if (slice.count() == 0) return pthread_mutex_trylock(&lock);
  const auto now = wait_limit::clock::now().time_since_epoch();
  const timespec end = to_timespec(std::chrono::duration_cast<std::chrono::nanoseconds>(now) + slice);
  return pthread_mutex_clocklock(&lock, CLOCK_MONOTONIC, &end);
}
#endif

void become_owner(mutex_state &state, bool from_the_dead) {
  const auto self = static_cast<std::uint32_t>(current_thread_id());
  const bool again = !from_the_dead && state.owner.load(std::memory_order_relaxed) == self;
  state.depth = again ? state.depth + 1 : 1;
  state.owner.store(self, std::memory_order_relaxed);
}

} // namespace

named_mutex *open_mutex(const std::string &name, bool &created) {
  bool made = false;
  auto object = shared_object::open(mutex_type, name, sizeof(mutex_state), made);
  created = made || !object;
  return object ? new named_mutex{std::move(object)} : nullptr;
}

void close_mutex(named_mutex *mutex) { delete mutex; }

unsigned wait_mutex(named_mutex *mutex, int milliseconds) {
  if (!mutex) return wait_failed;
  const errno_keeper keep;
  const auto pinned = mutex->object; // another thread may close the handle while this one waits
  mutex_state &state = state_of(*pinned);
  const wait_limit limit(milliseconds);
  for (;;) {
    const auto slice = limit.next_slice();
    const int result = lock_within(state.lock, slice);
    if (result == 0) {
      become_owner(state, false);
      return wait_acquired;
    }
    if (result == EOWNERDEAD) {
      pthread_mutex_consistent(&state.lock);
      become_owner(state, true);
      return wait_abandoned;
    }
    if (result != EBUSY && result != ETIMEDOUT) return wait_failed;
    if (slice.count() == 0) return wait_timeout;
  }
}

bool release_mutex(named_mutex *mutex) {
  if (!mutex) return false;
  mutex_state &state = state_of(*mutex->object);
  if (state.owner.load(std::memory_order_relaxed) != current_thread_id()) return false;
  if (--state.depth == 0) state.owner.store(0, std::memory_order_relaxed);
  return pthread_mutex_unlock(&state.lock) == 0;
}

} // namespace zar::platform
