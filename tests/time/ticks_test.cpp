#include "zarlib/time/ticks.h"

#include <gtest/gtest.h>

#include <thread>

TEST(Tick, NormalisesWithTheSettledFormForExactNegativeMultiples) {
  const auto is = [](const chTick &tick, int s, int u) { return tick.seconds == s && tick.microseconds == u; };
  EXPECT_TRUE(is(chTick(), 0, 0) && is(chTick(1, 2500000), 3, 500000) && is(chTick(5, -1), 4, 999999));
  EXPECT_TRUE(is(chTick(5, -1000000), 3, 1000000) && is(chTick(2, 0) += chTick(-3, 5), -1, 5));
  EXPECT_TRUE(is(chTick(0, 0) - chTick(0, 1), -1, 999999) && is(chTick(1, 999999) + chTick(1, 1), 3, 0));
  EXPECT_TRUE(chTick(1, 5) < chTick(2, 0) && chTick(-1, 9) < chTick(-1, 10) && chTick(3, 1) > chTick(3, 0));
  EXPECT_FALSE(chTick(1, 1) < chTick(1, 1) || chTick(1, 1) > chTick(1, 1));
}

TEST(TickTimer, GoesByTheOneClockAndLosesNoTimeAtResets) {
  const auto milliseconds = [](const chTick &tick) { return tick.seconds * 1000ULL + tick.microseconds / 1000; };
  const chTick before = chTimer::GetTickFromBoot();
  chTickTimer timer;
  const unsigned long long between = zarGetTickCount();
  const chTick after = chTimer::GetTickFromBoot();
  // After 10.6 days of uptime ticks overflow on Windows.
  EXPECT_TRUE(between > 920000000 || (milliseconds(before) <= between && between <= milliseconds(after)));
  int sum = 0;
  for (int i = 0; i < 1000; ++i) sum += timer.ResetTickTimer();
  const chTick now = chTimer::GetTickFromBoot();
  EXPECT_FALSE(now - before < chTick(0, sum) || now - after > chTick(0, sum + timer.GetMicrosecond()));
}

TEST(Timeout, KnowsNoneThePastAndTheWrap) {
  EXPECT_TRUE(chTimeout(-1).IsTimeout() == 0 && chTimeout(-1).GetLeftMillisecond() == -1);
  for (const int past : {0, -5, 2147484})
    EXPECT_TRUE(chTimeout(past).IsTimeout() == 1 && chTimeout(past).GetLeftMillisecond() == 0) << past;
  chTimeout later(100000);
  const int left = later.GetLeftMillisecond();
  EXPECT_TRUE(later.IsTimeout() == 0 && 90000 < left && left <= 100000) << left;
  later.setTimeout(1);
  while (!later.IsTimeout()) std::this_thread::yield();
  EXPECT_EQ(later.GetLeftMillisecond(), 0);
}
