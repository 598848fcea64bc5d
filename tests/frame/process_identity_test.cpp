#include "zarlib/frame/process_identity.h"
#include "zarlib/time/ticks.h"

#include "tests/support/harness/child_process.h"

#include <gtest/gtest.h>

#include <ctime>
#include <memory>
#include <thread>
#include <vector>

TEST(ProcessIdentity, KnowsTheLivingFromTheDead) {
  EXPECT_EQ(zarIsValidProcessID(0), 0);
  EXPECT_EQ(zarIsValidThreadID(0), 0);
  EXPECT_EQ(zarIsValidTaskID(0), 0);
  EXPECT_EQ(zarIsValidProcessID(zarGetCurrentProcessId()), 1);
  EXPECT_EQ(zarIsValidThreadID(zarGetCurrentThreadId()), 1);
  EXPECT_EQ(zarGetCurrentTaskId(), zarGetCurrentThreadId());

  auto child = std::make_unique<harness::child_process>("identity_program");
  const unsigned long process = child->id();
  const unsigned long thread = std::stoul(child->read_line());
  EXPECT_EQ(zarIsValidProcessID(process), 1);
  EXPECT_EQ(zarIsValidThreadID(thread), 1);
  EXPECT_EQ(zarIsValidProcessID(thread), 0) << "a thread that is no process";
  child->kill();
  // A dead process that nobody has waited for yet has ended all the same.
  const chTimeout limit(20000);
  while ((zarIsValidProcessID(process) || zarIsValidThreadID(thread)) && !limit.IsTimeout()) std::this_thread::yield();
  EXPECT_EQ(zarIsValidProcessID(process), 0);
  EXPECT_EQ(zarIsValidThreadID(thread), 0);
}

TEST(ProcessIdentity, InterlockedCountersLoseNothing) {
  int value = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 10000; ++i) {
        zarInterlockedIncrement(value);
        zarInterlockedIncrement(value);
        zarInterlockedDecrement(value);
      }
    });
  for (auto &thread : threads) thread.join();
  EXPECT_EQ(value, 40000);
  EXPECT_EQ(zarInterlockedIncrement(value), 40001);
  EXPECT_EQ(zarInterlockedDecrement(value), 40000);
}

TEST(ProcessIdentity, DelayTakesAtLeastItsTime) {
  chTickTimer timer;
  zarDelay(20);
  EXPECT_GE(timer.ResetTickTimer(), 19000);
  zarSleep(5);
  EXPECT_GE(timer.GetMicrosecond(), 4000);
  zarSwitchToThread();
}

TEST(ProcessIdentity, LocalTimeIsTheWallClocks) {
  SYSTEMTIME now;
  std::time_t before, after;
  do { // until both readings fall into one second
    before = std::time(nullptr);
    zarGetLocalTime(&now);
    after = std::time(nullptr);
  } while (before != after);
  char expected[64], found[64];
  std::strftime(expected, sizeof expected, "%Y-%m-%d %w %H:%M", std::localtime(&before));
  std::snprintf(found, sizeof found, "%d-%.2d-%.2d %d %.2d:%.2d", now.wYear, now.wMonth, now.wDay, now.wDayOfWeek,
                now.wHour, now.wMinute);
  EXPECT_STREQ(found, expected);
  EXPECT_LT(now.wMilliseconds, 1000);
}
