#include "zarlib/memory/dymic_alloc.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <gmock/gmock.h>

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

TEST(DymicAlloc, CountsFromTheFirstCallToTheLastStaticDestructor) {
  const harness::child_result result = harness::run("heap_balance");
  EXPECT_THAT(harness::lines_of(result.error),
              testing::ElementsAre("memory alloc(1) and free(1) leak(0)", "memory alloc(3) and free(3) leak(0)"));
}
