// The modules that hooks have been applied to.
#pragma once

#include "zarlib/platform/types.h"

#include <algorithm>
#include <atomic>

/// One thread at a time may append; others may read concurrently.
class apiModules {
public:
  static constexpr int capacity = 8192;

  static apiModules &getInstance();

  /// Starts with the modules that `list` writes; it returns their number.
  explicit apiModules(int (*list)(HINSTANCE *modules, int capacity)) : m_count(list(m_modules, capacity)) {}

  const HINSTANCE *begin() const { return m_modules; }
  const HINSTANCE *end() const { return m_modules + m_count.load(); }
  bool contains(HINSTANCE module) const { return std::find(begin(), end(), module) != end(); }

  /// No effect if full.
  void append(HINSTANCE module) {
    const int count = m_count.load(std::memory_order_relaxed);
    if (count == capacity) return;
    m_modules[count] = module;
    m_count.store(count + 1);
  }

private:
  std::atomic<int> m_count;
  HINSTANCE m_modules[capacity];
};
