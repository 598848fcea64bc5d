// What a test of kernel objects shares with kernel_objects_program.
#pragma once

#include <atomic>

/// The content of a mapping; zero to begin with.
struct kernel_ledger {
  static constexpr int workers = 4;
  std::atomic<int> stop, rounds, faults;
  std::atomic<int> before, after;              ///< equal whenever the guard is free
  std::atomic<unsigned long> holders[workers]; ///< process ids of those that have the subject open
};
