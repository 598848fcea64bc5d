#include "zarlib/trace/nesting_depths.h"

#include "zarlib/frame/process_identity.h"
#include "zarlib/platform/static_lock.h"

#include <mutex>
#include <unordered_map>

namespace zar {

namespace {

// Scope tracers run in static destructors too, so neither of these is ever destroyed.
constinit zar::platform::static_lock lock;

std::unordered_map<unsigned long, int> &depths() {
  static auto &table = *new std::unordered_map<unsigned long, int>;
  return table;
}

void drop_ended_threads() {
  std::erase_if(depths(), [](const auto &entry) { return !zarIsValidThreadID(entry.first); });
}

} // namespace

int enter_scope() {
  const unsigned long self = zarGetCurrentThreadId();
  const std::lock_guard hold(lock);
  const auto [entry, is_new] = depths().try_emplace(self, 0);
  const int before = entry->second++;
  if (is_new) drop_ended_threads();
  return before;
}

int leave_scope() {
  const unsigned long self = zarGetCurrentThreadId();
  const std::lock_guard hold(lock);
  return --depths()[self];
}

} // namespace zar
