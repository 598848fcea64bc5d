#include "zarlib/memory/dymic_alloc.h"

#include "tests/memory/balance.h"
#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <thread>
#include <vector>

using testing::Pair;

TEST(DymicAlloc, CountsEveryCallAlsoAmongThreads) {
  baseDymicAlloc heap;
  void *p = nullptr;
  EXPECT_THAT(growth([&] { p = heap.alloc(16); }), Pair(1, 0));
  EXPECT_THAT(growth([&] { p = heap.realloc(p, 5000); }), Pair(1, 1));
  EXPECT_THAT(growth([&] { heap.free(p), heap.free(nullptr); }), Pair(0, 2));
  EXPECT_THAT(growth([&] { heap.free(heap.realloc(nullptr, 8)); }), Pair(1, 1));
  EXPECT_THAT(growth([&] {
                std::vector<std::thread> threads;
                for (int i = 0; i < 4; ++i)
                  threads.emplace_back([] {
                    for (int n = 0; n < 5000; ++n) baseDymicAlloc().free(baseDymicAlloc().alloc(8));
                  });
                for (std::thread &thread : threads) thread.join();
              }),
              Pair(20000, 20000));
}

TEST(DymicAlloc, CountsFromTheFirstCallToTheLastStaticDestructor) {
  const harness::child_result result = harness::run("heap_balance");
  EXPECT_THAT(harness::lines_of(result.error),
              testing::ElementsAre("memory alloc(1) and free(1) leak(0)", "memory alloc(3) and free(3) leak(0)"));
}
