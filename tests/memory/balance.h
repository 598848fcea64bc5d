// The counts of the process heap, as dump() tells them.
#pragma once

#include "zarlib/memory/dymic_alloc.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <utility>

inline std::pair<int, int> heap_counts() {
  testing::internal::CaptureStderr();
  baseDymicAlloc::dump();
  int allocations = -1, frees = -1, leak = -1;
  const std::string text = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::sscanf(text.c_str(), "memory alloc(%d) and free(%d) leak(%d)", &allocations, &frees, &leak), 3)
      << text;
  EXPECT_EQ(leak, allocations - frees);
  return {allocations, frees};
}

/// By how much an action makes the two counts grow.
inline std::pair<int, int> growth(const std::function<void()> &action) {
  const auto before = heap_counts();
  action();
  const auto after = heap_counts();
  return {after.first - before.first, after.second - before.second};
}
