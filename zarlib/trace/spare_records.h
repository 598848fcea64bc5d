// Log records between two uses.
#pragma once

#include "zarlib/trace/log_queue.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>

namespace zar {

// A record in nobody's hands has no sequence, or needs it no more: it links the record to the next one meanwhile.
inline TraceNode *linked_to(const TraceNode &record) {
  return reinterpret_cast<TraceNode *>(static_cast<std::uintptr_t>(record.sequence));
}
inline void link(TraceNode &record, TraceNode *to) { record.sequence = reinterpret_cast<std::uintptr_t>(to); }

/// Records that were given back, for the next ones of the threads that made them: cheaper than the heap, and without the traffic
/// that a heap has when one thread allocates and another frees.
///
/// Any thread may call. Nobody waits for a producer or for a consumer: what cannot be had at once comes from the heap.
class spare_records {
public:
  /// @param thread  The caller's id. @return A record with whatever its last use has left in it.
  std::unique_ptr<TraceNode> take(unsigned long thread);

  /// Takes all records of the list, whose pointers are dead from then on; null ones are passed over.
  void give_back(const std::list<TraceNode *> &records);

  /// Takes one record, which is gone from then on. Never fails.
  void give_back(TraceNode &record);

private:
  static constexpr int slots = 16, most_in_slot = 2048;
  static constexpr size_t most_bytes = 256; ///< of the texts of a record that is kept

  /// The records of the threads whose ids fall on it.
  struct alignas(64) slot {
    std::atomic<bool> in_use{false}; ///< `first` belongs to whoever has set it
    TraceNode *first = nullptr;
    std::atomic<int> count{0};
  };

  // The ids of one system rise by 1, those of the other by 4.
  slot &slot_of(unsigned long thread) { return m_slots[(thread ^ thread >> 2) % slots]; }
  static bool is_kept(const TraceNode &record) {
    return record.module.capacity() + record.text.capacity() <= most_bytes;
  }
  static bool attach(slot &home, TraceNode &first, TraceNode &last, int count);

  slot m_slots[slots];
};

} // namespace zar
