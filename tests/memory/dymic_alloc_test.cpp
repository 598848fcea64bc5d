#include "zarlib/memory/dymic_alloc.h"

#include "tests/memory/balance.h"
#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <gmock/gmock.h>

#include <cstring>
#include <thread>
#include <vector>

using counts = std::pair<int, int>;

TEST(DymicAlloc, CountsEveryCall) {
  baseDymicAlloc heap;
  void *p = nullptr;
  EXPECT_EQ(growth([&] { p = heap.alloc(16); }), counts(1, 0));
  std::memset(p, 7, 16);
  EXPECT_EQ(growth([&] { p = heap.realloc(p, 5000); }), counts(1, 1));
  EXPECT_EQ(std::string(static_cast<char *>(p), 16), std::string(16, 7));
  EXPECT_EQ(growth([&] { heap.free(p); }), counts(0, 1));
  EXPECT_EQ(growth([&] { heap.free(nullptr); }), counts(0, 1));
  EXPECT_EQ(growth([&] { heap.free(heap.realloc(nullptr, 8)); }), counts(1, 1));
}

TEST(DymicAlloc, LosesNoCountAmongThreads) {
  const auto work = [] {
    for (int i = 0; i < 5000; ++i) baseDymicAlloc().free(baseDymicAlloc().alloc(8));
  };
  EXPECT_EQ(growth([&] {
              std::vector<std::thread> threads;
              for (int i = 0; i < 4; ++i) threads.emplace_back(work);
              for (std::thread &thread : threads) thread.join();
            }),
            counts(20000, 20000));
}

TEST(DymicAlloc, CountsFromTheFirstCallToTheLastStaticDestructor) {
  const harness::child_result result = harness::run("memory_program", {"balance"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(harness::lines_of(result.error),
              testing::ElementsAre("memory alloc(1) and free(1) leak(0)", "memory alloc(2) and free(1) leak(1)"));
}
