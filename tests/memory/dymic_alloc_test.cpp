#include "zarlib/memory/dymic_alloc.h"

#include <gtest/gtest.h>

#include <thread>

TEST(DymicAlloc, CountsEveryCallAlsoAmongThreads) {
  const auto work = [] {
    baseDymicAlloc heap;
    for (int n = 0; n < 5000; ++n) heap.free(heap.realloc(heap.realloc(nullptr, 8), 5000));
    heap.free(nullptr);
  };
  int counts[6] = {};
  for (int *c : {counts, counts + 3}) {
    testing::internal::CaptureStderr();
    baseDymicAlloc::dump();
    const std::string text = testing::internal::GetCapturedStderr();
    ASSERT_EQ(std::sscanf(text.c_str(), "memory alloc(%d) and free(%d) leak(%d)", c, c + 1, c + 2), 3) << text;
    std::thread other(work);
    work(), other.join();
  }
  EXPECT_TRUE(counts[3] - counts[0] == 20000 && counts[4] - counts[1] == 20002) << counts[5];
}
