// A free list of log records.
#pragma once

#include "zarlib/trace/log_queue.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>

namespace zar {

// While a record is queued or spare, its sequence is unused and holds the link to the next record.
inline TraceNode *linked_to(const TraceNode &record) {
  return reinterpret_cast<TraceNode *>(static_cast<std::uintptr_t>(record.sequence));
}
inline void link(TraceNode &record, TraceNode *to) { record.sequence = reinterpret_cast<std::uintptr_t>(to); }

/// Returned records, kept for reuse by the threads that made them: cheaper than the heap, and without the cross-thread
/// traffic of a heap when one thread allocates and another frees.
///
/// Any thread may call. No call waits for a producer or a consumer: what is not available at once comes from the heap.
class spare_records {
public:
  /// @param thread  The caller's id. @return A record that still holds the contents of its last use.
  std::unique_ptr<TraceNode> take(unsigned long thread);

  /// Takes ownership of all records in the list, leaving its pointers dangling; null pointers are skipped.
  void give_back(const std::list<TraceNode *> &records);

  /// Takes ownership of one record. Never fails.
  void give_back(TraceNode &record);

private:
  static constexpr int slots = 16, most_in_slot = 2048;
  static constexpr size_t most_bytes = 256; ///< text capacity of a record that is kept

  /// The records of the threads whose ids hash to it.
  struct alignas(64) slot {
    std::atomic<bool> in_use{false}; ///< a try-lock: whoever sets it owns `first`
    TraceNode *first = nullptr;
    std::atomic<int> count{0};
  };

  // Thread ids increase by 1 on one system, by 4 on the other.
  slot &slot_of(unsigned long thread) { return m_slots[(thread ^ thread >> 2) % slots]; }
  static bool is_kept(const TraceNode &record) {
    return record.module.capacity() + record.text.capacity() <= most_bytes;
  }
  static bool attach(slot &home, TraceNode &first, TraceNode &last, int count);

  slot m_slots[slots];
};

} // namespace zar
