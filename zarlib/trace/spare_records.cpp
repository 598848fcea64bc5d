#include "zarlib/trace/spare_records.h"

#include "zarlib/platform/thread.h"

#include <utility>

namespace zar {

namespace {

void delete_chain(TraceNode *record) {
  while (record) delete std::exchange(record, linked_to(*record));
}

} // namespace

std::unique_ptr<TraceNode> spare_records::take(unsigned long thread) {
  slot &mine = slot_of(thread);
  const int count = mine.count.load(std::memory_order_relaxed);
  if (count == 0 || mine.in_use.exchange(true, std::memory_order_acquire)) return std::make_unique<TraceNode>();
  TraceNode *const first = mine.first;
  if (first) {
    mine.first = linked_to(*first);
    mine.count.store(mine.count.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
  }
  mine.in_use.store(false, std::memory_order_release);
  return first ? std::unique_ptr<TraceNode>(first) : std::make_unique<TraceNode>();
}

void spare_records::give_back(const std::list<TraceNode *> &records) {
  for (auto at = records.begin(); at != records.end();) {
    if (!*at) {
      ++at;
      continue;
    }
    slot &home = slot_of((*at)->thread);
    const int room = most_in_slot - home.count.load(std::memory_order_relaxed);
    TraceNode *first = nullptr, *last = nullptr;
    int count = 0;
    for (; at != records.end() && *at && &slot_of((*at)->thread) == &home; ++at) {
      TraceNode &record = **at;
      if (count >= room || !is_kept(record)) {
        delete &record;
        continue;
      }
      link(record, first);
      first = &record;
      if (count++ == 0) last = first;
    }
    if (first && !attach(home, *first, *last, count)) delete_chain(first);
  }
}

void spare_records::give_back(TraceNode &record) {
  slot &home = slot_of(record.thread);
  const bool room = home.count.load(std::memory_order_relaxed) < most_in_slot;
  if (!room || !is_kept(record) || !attach(home, record, record, 1)) delete &record;
}

bool spare_records::attach(slot &home, TraceNode &first, TraceNode &last, int count) {
  for (int i = 0; home.in_use.exchange(true, std::memory_order_acquire); ++i) {
    constexpr int patience = 100;
    if (i == patience) return false;
    platform::yield_thread();
  }
  link(last, home.first);
  home.first = &first;
  home.count.store(home.count.load(std::memory_order_relaxed) + count, std::memory_order_relaxed);
  home.in_use.store(false, std::memory_order_release);
  return true;
}

} // namespace zar
