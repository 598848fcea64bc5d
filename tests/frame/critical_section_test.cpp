#include "zarlib/frame/critical_section.h"

#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(CriticalSection, TellsItsHolderAndKeepsOthersOut) {
  chCriticalSection section;
  EXPECT_EQ(section.IsLocked(), 0);
  EXPECT_EQ(section.Lock(), 1);
  EXPECT_EQ(section.IsLocked(), 1);
  EXPECT_EQ(section.IsLockedByThisThread(), 1);
  std::thread([&] {
    EXPECT_EQ(section.IsLocked(), 1);
    EXPECT_EQ(section.IsLockedByThisThread(), 0);
  }).join();
  section.Unlock();
  EXPECT_EQ(section.IsLocked(), 0);
  EXPECT_EQ(section.IsLockedByThisThread(), 0);
}

TEST(CriticalSection, SecondOfTwoNestedUnlocksWarnsAndLeavesItHeld) {
  // In a process of its own: the section stays held for ever.
  const harness::child_result result = harness::run("locks_program", {"nested-section"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(harness::lines_of(result.output), std::vector<std::string>{"held for others"});
  const std::string warning = "Try to unlock a NOLOCKED CriticalSection.";
  const size_t at = result.error.find(warning);
  ASSERT_NE(at, std::string::npos) << result.error;
  EXPECT_EQ(result.error.compare(0, 5, "[W:] "), 0);
  EXPECT_EQ(result.error.find(warning, at + 1), std::string::npos);
}

TEST(ThreadLock, NestsAndExcludesUnderContention) {
  chThreadLock<chCriticalSection> lock;
  long long plain_counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 20000; ++i) {
        lock.Lock();
        lock.Lock();
        lock.Unlock();
        ++plain_counter; // still held once
        lock.Unlock();
      }
    });
  }
  for (auto &thread : threads) thread.join();
  EXPECT_EQ(plain_counter, 80000);
}

TEST(ThreadLock, UnlockByAStrangerAbortsWithoutAMessage) {
  const harness::child_result result = harness::run("locks_program", {"stranger"});
  EXPECT_FALSE(result.timed_out);
  EXPECT_TRUE(result.signal != 0 || result.exit_code != 0);
  EXPECT_EQ(harness::lines_of(result.output), std::vector<std::string>{"about to unlock"});
  EXPECT_EQ(result.error.find("[W:]"), std::string::npos);
}
