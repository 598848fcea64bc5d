#include "zarlib/frame/local_objects.h"

#include "zarlib/frame/critical_section.h"
#include "zarlib/frame/static_instance.h"

#include <algorithm>
#include <atomic>
#include <unordered_map>

// Records have stable addresses: objects point to them, and table nodes do not move on rehash. `creator` may be read by
// any holder while its own object closes; everything else is guarded by getStaticObjectCritical().
struct mapFileLocalRecord {
  std::atomic<chMapFile_Local *> creator{nullptr};
  int references = 0;
  void *block = nullptr;
};

struct mutexLocalRecord {
  chCriticalSection section;
  int references = 0;
  std::atomic<chMutex_Local *> creator{nullptr};
};

namespace {

template <class Record>
using record_table = std::unordered_map<std::string, Record>;

// Every object's constructor touches its table and the static lock, so at process exit these outlive all objects.
record_table<mapFileLocalRecord> &mapFileLocalTable() {
  static record_table<mapFileLocalRecord> table;
  return table;
}

record_table<mutexLocalRecord> &mutexLocalTable() {
  static record_table<mutexLocalRecord> table;
  return table;
}

template <class Table>
void build(Table &table) {
  getStaticObjectCritical();
  table();
}

class static_lock {
public:
  static_lock() { getStaticObjectCritical().Lock(); }
  static_lock(const static_lock &) = delete;
  static_lock &operator=(const static_lock &) = delete;
  ~static_lock() { getStaticObjectCritical().Unlock(); }
};

/// Adds a reference by the object to the record of that name. REQUIRES: the static lock is held.
template <class Record, class Object>
std::pair<Record *, bool> take(record_table<Record> &table, const std::string &name, Object *object) {
  const auto [entry, added] = table.try_emplace(name);
  Record &record = entry->second;
  if (added) record.creator.store(object, std::memory_order_relaxed);
  ++record.references;
  return {&record, added};
}

/// Drops the object's reference. @return Whether it was the last. REQUIRES: the static lock is held.
template <class Record, class Object>
bool give_back(Record &record, Object *object) {
  if (record.creator.load(std::memory_order_relaxed) == object)
    record.creator.store(nullptr, std::memory_order_relaxed);
  return --record.references == 0;
}

/// Clears a pointer with a store that the compiler must keep even in a dying object: a destroyed singleton may still
/// be used, and then reads as closed.
template <class Record>
void forget(Record *&record) {
  std::atomic_ref<Record *>(record).store(nullptr, std::memory_order_relaxed);
}

template <class Record>
void erase(record_table<Record> &table, const Record *record) {
  table.erase(std::find_if(table.begin(), table.end(), [&](const auto &entry) { return &entry.second == record; }));
}

} // namespace

chMapFile_Local::chMapFile_Local() { build(mapFileLocalTable); }

chMapFile_Local::~chMapFile_Local() = default;

void *chMapFile_Local::OpenMapFile(const std::string &name, int size) {
  const static_lock hold;
  const auto [record, added] = take(mapFileLocalTable(), name, this);
  if (added) record->block = alloc(size);
  m_record = record;
  return record->block;
}

void chMapFile_Local::CloseMapFile() {
  if (!m_record) return;
  const static_lock hold;
  if (give_back(*m_record, this)) {
    free(m_record->block);
    erase(mapFileLocalTable(), m_record);
  }
  forget(m_record);
}

void chMapFile_Local::DestroyMapFile() { CloseMapFile(); }

int chMapFile_Local::IsCreateByMe() const {
  return m_record && m_record->creator.load(std::memory_order_relaxed) == this;
}

void chMapFile_Local::Flush() {}

chMutex_Local::chMutex_Local() { build(mutexLocalTable); }

chMutex_Local::~chMutex_Local() = default;

int chMutex_Local::OpenMutexA(const std::string &name) {
  const static_lock hold;
  m_record = take(mutexLocalTable(), name, this).first;
  return 1;
}

// Settled, callers rely on it: the time-out is ignored; every caller waits until the mutex is free.
int chMutex_Local::Lock(int) { return m_record ? m_record->section.Lock() : 0; }

void chMutex_Local::Unlock() {
  if (m_record) m_record->section.Unlock();
}

int chMutex_Local::IsLockedByThisThread() const { return m_record ? m_record->section.IsLockedByThisThread() : 0; }

int chMutex_Local::IsCreateByMe() const {
  return m_record && m_record->creator.load(std::memory_order_relaxed) == this;
}

void chMutex_Local::CloseMutex() {
  if (!m_record) return;
  const static_lock hold;
  if (give_back(*m_record, this)) erase(mutexLocalTable(), m_record);
  forget(m_record);
}

void chMutex_Local::DestroyMutex() { CloseMutex(); }
