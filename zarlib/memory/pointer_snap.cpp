#include "zarlib/memory/pointer_snap.h"

#include "zarlib/frame/static_instance.h"

#include <atomic>
#include <deque>
#include <unordered_map>
#include <vector>

// What snapshots compare. They read it without a lock and even after removal, so an entry is never freed and its words
// are atomic; the count never returns to a value that an older snapshot holds.
struct zar::safe_pointer_entry {
  std::atomic<const void *> key{nullptr};
  std::atomic<int> count{0};
};

namespace {

using zar::safe_pointer_entry;

struct registry {
  std::unordered_map<const void *, safe_pointer_entry *> registered{8};
  std::deque<safe_pointer_entry> entries;
  std::vector<safe_pointer_entry *> unused;

  safe_pointer_entry *fresh_entry() {
    if (unused.empty()) return &entries.emplace_back();
    safe_pointer_entry *const entry = unused.back();
    unused.pop_back();
    return entry;
  }
};

// Never destroyed, so that static destructors may still use it.
registry &the_registry() {
  static registry &instance = *new registry;
  return instance;
}

class registry_lock {
public:
  registry_lock() { getStaticObjectCritical().Lock(); }
  registry_lock(const registry_lock &) = delete;
  registry_lock &operator=(const registry_lock &) = delete;
  ~registry_lock() { getStaticObjectCritical().Unlock(); }
};

safe_pointer_entry *entry_of(const void *p) {
  const registry_lock lock;
  const auto found = the_registry().registered.find(p);
  return found == the_registry().registered.end() ? nullptr : found->second;
}

} // namespace

bool chPointerSnap::addSafePointer(const void *p) {
  const registry_lock lock;
  if (the_registry().registered.count(p)) return true;
  safe_pointer_entry *const entry = the_registry().fresh_entry();
  the_registry().registered.emplace(p, entry);
  entry->count.fetch_add(1);
  entry->key.store(p);
  return true;
}

void chPointerSnap::removeSafePointer(const void *p) {
  const registry_lock lock;
  const auto found = the_registry().registered.find(p);
  if (found == the_registry().registered.end()) return;
  found->second->key.store(nullptr);
  found->second->count.fetch_add(1);
  the_registry().unused.push_back(found->second);
  the_registry().registered.erase(found);
}

chPointerSnap::chPointerSnap(const void *p) : m_pEntry(entry_of(p)), m_pKey(m_pEntry->key), m_nCount(m_pEntry->count) {}

bool chPointerSnap::hasData() const { return m_pEntry->key == m_pKey && m_pEntry->count == m_nCount; }
