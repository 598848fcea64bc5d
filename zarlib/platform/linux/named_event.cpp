#include "zarlib/platform/named_event.h"

#include "zarlib/platform/linux/shared_object.h"
#include "zarlib/platform/linux/wait_limit.h"

#include <atomic>
#include <climits>
#include <linux/futex.h>
#include <sys/syscall.h>

namespace zar::platform {

struct named_event {
  std::shared_ptr<shared_object> object;
};

namespace {

/// 1 while signalled, otherwise 0; at the start of the object's data. Zero is right for a new object.
using event_word = std::atomic<std::uint32_t>;
static_assert(sizeof(event_word) == 4 && event_word::is_always_lock_free, "a storage format, and a futex");

constexpr object_type event_type = {1, nullptr, nullptr};

event_word &word_of(const shared_object &object) { return *static_cast<event_word *>(object.data()); }

bool take(event_word &word) {
  std::uint32_t signalled = 1;
  return word.compare_exchange_strong(signalled, 0);
}

void sleep_while_clear(event_word &word, std::chrono::nanoseconds slice) {
  const timespec time = to_timespec(slice);
  syscall(SYS_futex, &word, FUTEX_WAIT, 0, &time, nullptr, 0);
}

} // namespace

named_event *open_event(const std::string &name, bool &created) {
  bool made = false;
  auto object = shared_object::open(event_type, name, sizeof(event_word), made);
  created = made || !object;
  return object ? new named_event{std::move(object)} : nullptr;
}

void close_event(named_event *event) { delete event; }

bool set_event(named_event *event) {
  if (!event) return false;
  event_word &word = word_of(*event->object);
  if (word.exchange(1) == 0) syscall(SYS_futex, &word, FUTEX_WAKE, 1, nullptr, nullptr, 0);
  return true;
}

void reset_event(named_event *event) {
  if (event) word_of(*event->object).exchange(0); // a full barrier: no later read moves ahead of it
}

bool wait_event(named_event *event, int milliseconds) {
  if (!event) return false;
  const auto pinned = event->object; // another thread may close the handle while this one waits
  event_word &word = word_of(*pinned);
  const wait_limit limit(milliseconds);
  for (;;) {
    if (take(word)) return true;
    const auto slice = limit.next_slice();
    if (slice.count() == 0) return false;
    sleep_while_clear(word, slice);
  }
}

} // namespace zar::platform
