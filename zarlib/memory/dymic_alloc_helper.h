// dymicAllocHelper: the counters behind baseDymicAlloc and baseDynamicNodeAlloc_block.
#pragma once

#include <atomic>

/// The one pair of counters of the process, built at first use through static_instance.
///
/// Atomics without a lock suffice, as each counter only grows; and with nothing to destroy, allocations in static
/// destructors are counted to the last.
class dymicAllocHelper {
public:
  static dymicAllocHelper &getInstance();

  void count_allocation() { count_allocations(1); }
  void count_free() { count_frees(1); }
  /// For several at once, carved by the caller from one heap allocation.
  void count_allocations(int count) { m_allocations.fetch_add(count, std::memory_order_relaxed); }
  void count_frees(int count) { m_frees.fetch_add(count, std::memory_order_relaxed); }

  /// Both wrap in 32 bits.
  int allocations() const { return m_allocations.load(std::memory_order_relaxed); }
  int frees() const { return m_frees.load(std::memory_order_relaxed); }

private:
  std::atomic<int> m_allocations{0};
  std::atomic<int> m_frees{0};
};
