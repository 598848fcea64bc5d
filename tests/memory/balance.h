// By how much an action makes the counts of the process heap grow, as dump() tells them.
#pragma once

#include "zarlib/memory/dymic_alloc.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <utility>

template <class Action>
std::pair<int, int> growth(Action action) {
  int c[6] = {};
  for (int *figures : {c, c + 3}) {
    testing::internal::CaptureStderr();
    baseDymicAlloc::dump();
    const std::string text = testing::internal::GetCapturedStderr();
    std::sscanf(text.c_str(), "memory alloc(%d) and free(%d) leak(%d)", figures, figures + 1, figures + 2);
    if (figures == c) action();
  }
  return {c[3] - c[0], c[4] - c[1]};
}
