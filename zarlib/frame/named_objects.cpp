#include "zarlib/frame/named_objects.h"

#include "zarlib/frame/static_instance.h"
#include "zarlib/memory/share_string.h"

#include <atomic>
#include <climits>
#include <cstdint>
#include <cstring>

namespace {

constexpr int block_bytes = 8192;
constexpr int block_version = 4099;

constinit zar::static_instance<uCSystemNamedObjectHelper> the_helper;
constinit std::atomic<bool> table_closed{false}; // the instance stays reachable for ever, its block does not

class record_name : public baseShareStringA {
public:
  using baseShareStringA::get_Text;
  using baseShareStringA::set_Text;
};

/// A record of the chain; the caller's bytes follow it.
struct named_record {
  list_chain_offset links;
  record_name name;

  void *bytes() { return this + 1; }
  static named_record *of(void *bytes) { return static_cast<named_record *>(bytes) - 1; }
  static named_record *of(list_chain_offset *links) { return reinterpret_cast<named_record *>(links); }
};
static_assert(sizeof(named_record) == 12, "a storage format");

constexpr int text_overhead = 5; // the length before a text, the NUL after it

/// Where the search for a name ended: at its record, or at the node to insert a new record before.
struct place {
  list_chain_offset *node;
  bool found;
};

place find(const list_chain_offset &head, const std::string &name) {
  list_chain_offset *node = head.get_pNext();
  for (; node != &head; node = node->get_pNext()) {
    const record_name &entry = named_record::of(node)->name;
    const int order = name.compare(0, name.npos, entry.c_str(), static_cast<size_t>(entry.length()));
    if (order == 0) return {node, true};
    // Settled, callers rely on it: names are in descending order.
    if (order > 0) break;
  }
  return {node, false};
}

/// The allocator of a chain's records, which lies directly before the chain's head.
basePoolAlloc &pool_before(const void *head) {
  return *reinterpret_cast<basePoolAlloc *>(reinterpret_cast<std::uintptr_t>(head) - sizeof(basePoolAlloc));
}

/// Whether a self-relative word can refer to any byte of the object: always on 32-bit, within 2 GiB on 64-bit targets.
bool reaches(const void *word, const chSystemNamedObject *object) {
  if (sizeof(void *) == sizeof(std::int32_t)) return true;
  const auto distance =
      static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(object) - reinterpret_cast<std::uintptr_t>(word));
  return distance > INT32_MIN && distance < INT32_MAX - block_bytes;
}

class lock_if_free {
public:
  explicit lock_if_free(chMutex_Local &mutex) : m_mutex(mutex), m_taken(!mutex.IsLockedByThisThread()) {
    if (m_taken) m_mutex.Lock(-1);
  }
  lock_if_free(const lock_if_free &) = delete;
  lock_if_free &operator=(const lock_if_free &) = delete;
  ~lock_if_free() {
    if (m_taken) m_mutex.Unlock();
  }

private:
  chMutex_Local &m_mutex;
  const bool m_taken;
};

} // namespace

/// Friend access to the singleton's mutex and object.
struct zar::named_table {
  static chMutex_Local &mutex() { return uCSystemNamedObjectHelper::getInstance().m_mutex; }

  /// Null when the block could not be obtained, and once it has been closed at process exit.
  static chSystemNamedObject *object() {
    uCSystemNamedObjectHelper &helper = uCSystemNamedObjectHelper::getInstance();
    return table_closed.load(std::memory_order_relaxed) ? nullptr : helper.m_object;
  }

  static void store_name(record_name &target, const std::string &name, basePoolAlloc &own_pool) {
    const lock_if_free hold(mutex());
    chSystemNamedObject *const common = object();
    // Settled, callers rely on it: every chain keeps its names in the process's table, if a word reaches it.
    basePoolAlloc &pool = common && reaches(&target, common) ? common->pool() : own_pool;
    auto *const text = static_cast<baseShareTextA *>(pool.alloc(static_cast<int>(name.size()) + text_overhead));
    std::memcpy(text->text(), name.c_str(), name.size() + 1);
    text->length = static_cast<int>(name.size());
    target.set_Text(text);
  }

  static void release_name(record_name &target, basePoolAlloc &own_pool) {
    const lock_if_free hold(mutex());
    baseShareTextA *const text = target.get_Text();
    *text->text() = '\0';
    target.set_Text(nullptr);
    chSystemNamedObject *const common = object();
    basePoolAlloc &pool = common && common->pool().is_valid_pointer(text) ? common->pool() : own_pool;
    pool.free(text);
  }
};

void *chNamedObjectManager::GetNamedObject(const std::string &name, int size, int *created) {
  const place where = find(m_head, name);
  if (created) *created = 0;
  if (where.found) return named_record::of(where.node)->bytes();
  constexpr int largest_size = INT_MAX - static_cast<int>(sizeof(named_record));
  if (size < 0 || size > largest_size || name.size() > static_cast<size_t>(INT_MAX - text_overhead)) return nullptr;

  if (created) *created = 1;
  basePoolAlloc &pool = pool_before(this);
  // Settled, callers rely on it: pool exhaustion is not checked; the first store through the null pointer faults.
  auto *const record = new (pool.alloc(size + static_cast<int>(sizeof(named_record)))) named_record;
  if (!name.empty()) zar::named_table::store_name(record->name, name, pool);
  chain_insert_before(*where.node, record->links);
  return record->bytes();
}

void *chNamedObjectManager::FindNamedObject(const std::string &name) const {
  const place where = find(m_head, name);
  return where.found ? named_record::of(where.node)->bytes() : nullptr;
}

void chNamedObjectManager::FreeNamedObject(const std::string &name) {
  if (void *const object = FindNamedObject(name)) FreeObject(object);
}

void chNamedObjectManager::FreeObject(void *object) {
  named_record *const record = named_record::of(object);
  basePoolAlloc &pool = pool_before(this);
  chain_unlink(record->links);
  if (record->name.get_Text()) zar::named_table::release_name(record->name, pool);
  pool.free(record);
}

chSystemNamedObject::chSystemNamedObject() {
  InitHeader(block_bytes, block_version);
  m_pool.init_pool(m_area, sizeof m_area);
}

uCSystemNamedObjectHelper &uCSystemNamedObjectHelper::getInstance() {
  return the_helper.get("[E:] re-enter static instance of uCSystemNamedObjectHelper",
                        []() -> uCSystemNamedObjectHelper & {
                          static uCSystemNamedObjectHelper helper;
                          return helper;
                        });
}

uCSystemNamedObjectHelper::uCSystemNamedObjectHelper() { open_stamped("ipc_system_named", block_bytes, block_version); }

uCSystemNamedObjectHelper::~uCSystemNamedObjectHelper() { table_closed = true; }

void *nameGetSystemObject(const char *name, int size, int *created) {
  chSystemNamedObject *const table = zar::named_table::object();
  if (name && table) return table->objects().GetNamedObject(name, size, created);
  if (created) *created = 0;
  return nullptr;
}

int nameHelperLock() { return table_closed ? 0 : zar::named_table::mutex().Lock(-1); }

void nameHelperUnlock() {
  if (!table_closed) zar::named_table::mutex().Unlock();
}
