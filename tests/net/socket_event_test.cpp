#include "zarlib/net/socket_event.h"

#include "tests/net/connection.h"

#include <gmock/gmock.h>

#include <thread>

static constexpr int soon = 20000;

TEST(SocketEvent, WalksThroughItsStates) {
  uCTraceHelper::getInstance().ResetTraceLevel(7);
  chEvent_Socket event;
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(event.GetEventPort() == 0 && event.GetEventSocket() == 0xFFFFFFFF);
    testing::internal::CaptureStdout();
    EXPECT_EQ(event.SetEvent() + event.WaitEvent(-1) + event.SendEvent(1), 0);
    EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::HasSubstr("chEvent_Socket::SetEvent failed!"));
    event.ResetEvent();
    EXPECT_EQ(event.OpenEventA(), 1);
    const int port = event.GetEventPort();
    EXPECT_TRUE(event.OpenEventA() == 1 && event.GetEventPort() == port);
    EXPECT_EQ(event.SendEvent(0) + event.SendEvent(-1) + event.WaitEvent(0), 0);
    event.CloseEvent();
  }
}

TEST(SocketEvent, CountsASignalForEachAndNothingElse) {
  chEvent_Socket event, other;
  EXPECT_TRUE(event.OpenEventA() && other.OpenEventA());
  const chSocketAddr address("127.0.0.1", event.GetEventPort());
  sockSendTo(other.GetEventSocket(), "", 0, 0, &address.toSocketAddr(), 16); // an empty datagram is no signal
  EXPECT_EQ(event.WaitEvent(soon), 0);
  int taken = 0;
  for (int i = 0; i < 100; ++i) EXPECT_EQ(i % 2 ? event.SetEvent() : other.SendEvent(event.GetEventPort()), 1);
  while (event.WaitEvent(taken < 100 ? soon : 0)) ++taken;
  EXPECT_EQ(taken, 100);
  EXPECT_TRUE(event.SetEvent() && event.SetEvent() && event.SetEvent() && event.WaitEvent(-1));
  event.ResetEvent();
  EXPECT_EQ(event.WaitEvent(0), 0);
}

/// One thread's new socket may get the number that others still use for the broken one; that is tested below.
extern "C" const char *__tsan_default_suppressions() { return "race:chEvent_Socket::open_endpoint\nrace:sockClose"; }

TEST(SocketEvent, IsRepairedAfterItsSocketWasClosedUnderneath) {
  chEvent_Socket event;
  for (int round = 0; round < 20; ++round) {
    EXPECT_EQ(event.OpenEventA(), 1);
    sockClose(event.GetEventSocket());
    std::vector<std::thread> signallers; // all find it broken; the signals go to the old port
    for (int i = 0; i < 4; ++i) signallers.emplace_back([&] { EXPECT_EQ(event.SetEvent(), 1); });
    for (std::thread &signaller : signallers) signaller.join();
    EXPECT_EQ(address_of(event.GetEventSocket()).port(), event.GetEventPort());
    EXPECT_TRUE(event.SetEvent() && event.WaitEvent(soon));
  }
}
