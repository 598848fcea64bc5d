// The modules that hooks have been applied to.
#pragma once

#include "zarlib/platform/types.h"

#include <algorithm>
#include <atomic>

/// One thread at a time appends; others may read meanwhile.
class apiModules {
public:
  static constexpr int capacity = 8192;

  static apiModules &getInstance();

  /// Begins with what `list` writes, which returns how many that are.
  explicit apiModules(int (*list)(HINSTANCE *modules, int capacity)) : m_count(list(m_modules, capacity)) {}

  const HINSTANCE *begin() const { return m_modules; }
  const HINSTANCE *end() const { return m_modules + m_count.load(std::memory_order_acquire); }
  bool contains(HINSTANCE module) const { return std::find(begin(), end(), module) != end(); }

  /// Without effect once there is no more room.
  void append(HINSTANCE module) {
    const int count = m_count.load(std::memory_order_relaxed);
    if (count == capacity) return;
    m_modules[count] = module;
    m_count.store(count + 1, std::memory_order_release);
  }

private:
  std::atomic<int> m_count;
  HINSTANCE m_modules[capacity];
};
