#include "zarlib/frame/critical_section.h"

#include "tests/support/harness/child_process.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

TEST(CriticalSection, TellsItsHolderAndIsNotToBeNested) {
  static chCriticalSection section; // held until exit
  const auto state = [] { return section.IsLocked() * 10 + section.IsLockedByThisThread(); };
  EXPECT_EQ(section.Lock(), 1);
  EXPECT_EQ(state(), 11);
  std::thread([&] { EXPECT_EQ(state(), 10); }).join();
  section.Unlock();
  EXPECT_EQ(state(), 0);
  section.Lock();
  section.Lock();
  section.Unlock();
  testing::internal::CaptureStderr();
  section.Unlock();
  const std::string warning = testing::internal::GetCapturedStderr();
  EXPECT_NE(warning.find(") Try to unlock a NOLOCKED CriticalSection."), std::string::npos) << warning;
  static std::atomic<bool> started{false}, entered{false};
  std::thread([] { started = true, section.Lock(), entered = true; }).detach();
  for (int i = 0; i < 1000 || !started; ++i) std::this_thread::yield();
  EXPECT_FALSE(entered) << "held for others";
}

TEST(ThreadLock, NestsExcludesAndAbortsWhenAStrangerUnlocks) {
  chThreadLock<chCriticalSection> lock;
  long long plain_counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      errno = 0;
      for (int i = 0; i < 20000; ++i) {
        lock.Lock();
        lock.Lock();
        lock.Unlock();
        ++plain_counter; // still held once
        lock.Unlock();
      }
      EXPECT_EQ(errno, 0) << "may be asked after a line of trace";
    });
  for (auto &thread : threads) thread.join();
  EXPECT_EQ(plain_counter, 80000);

  const harness::child_result stranger = harness::run("frame_exit_program", {"stranger"});
  EXPECT_TRUE(!stranger.timed_out && stranger.exit_code != 0);
}
