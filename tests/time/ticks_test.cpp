#include "zarlib/time/ticks.h"

#include <gtest/gtest.h>

#include <thread>

TEST(Tick, NormalisesWithTheSettledFormForExactNegativeMultiples) {
  const struct {
    chTick tick;
    int seconds, microseconds;
  } cases[] = {{chTick(), 0, 0},
               {chTick(1, 2500000), 3, 500000},
               {chTick(5, -1), 4, 999999},
               {chTick(5, -1000000), 3, 1000000},
               {chTick(0, 0) - chTick(0, 1), -1, 999999},
               {chTick(1, 999999) + chTick(1, 1), 3, 0},
               {chTick(2, 0) += chTick(-3, 5), -1, 5}};
  for (const auto &c : cases) {
    EXPECT_EQ(c.tick.seconds, c.seconds);
    EXPECT_EQ(c.tick.microseconds, c.microseconds);
  }
  EXPECT_TRUE(chTick(1, 5) < chTick(2, 0) && chTick(-1, 9) < chTick(-1, 10) && chTick(3, 1) > chTick(3, 0));
  EXPECT_FALSE(chTick(1, 1) < chTick(1, 1) || chTick(1, 1) > chTick(1, 1));
}

TEST(Timer, CountsForwardTheSameInBothForms) {
  const unsigned long long before = zarGetTickCount();
  const chTick tick = chTimer::GetTickFromBoot();
  const unsigned long long after = zarGetTickCount();
  const auto between =
      static_cast<unsigned long long>(tick.seconds) * 1000 + static_cast<unsigned>(tick.microseconds) / 1000;
  EXPECT_LE(before, between);
  EXPECT_LE(between, after);
}

TEST(TickTimer, ResetLosesNoTimeBetweenTwoFigures) {
  const chTick start = chTimer::GetTickFromBoot();
  chTickTimer timer;
  long long sum = 0;
  for (int i = 0; i < 1000; ++i) sum += timer.ResetTickTimer();
  const chTick all = chTimer::GetTickFromBoot() - start;
  EXPECT_LE(sum, all.seconds * 1000000LL + all.microseconds);
  EXPECT_GE(sum + timer.GetMicrosecond(), 0);
}

TEST(Timeout, KnowsNoneThePastAndTheWrap) {
  EXPECT_EQ(chTimeout(-1).IsTimeout(), 0);
  EXPECT_EQ(chTimeout(-1).GetLeftMillisecond(), -1);
  for (const int past : {0, -5, 2147484}) {
    EXPECT_EQ(chTimeout(past).IsTimeout(), 1) << past;
    EXPECT_EQ(chTimeout(past).GetLeftMillisecond(), 0) << past;
  }
  chTimeout later(100000);
  EXPECT_EQ(later.IsTimeout(), 0);
  EXPECT_LE(later.GetLeftMillisecond(), 100000);
  EXPECT_GT(later.GetLeftMillisecond(), 90000);
  later.setTimeout(1);
  while (!later.IsTimeout()) std::this_thread::yield();
  EXPECT_EQ(later.GetLeftMillisecond(), 0);
}
