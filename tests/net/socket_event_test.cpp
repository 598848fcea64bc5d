#include "zarlib/net/socket_event.h"

#include "tests/net/connection.h"
#include "tests/support/harness/child_process.h"
#include "tests/support/harness/files.h"

#include <gmock/gmock.h>

#include <thread>

namespace {

constexpr int soon = 20000;
constexpr unsigned invalid = 0xFFFFFFFF;

/// The lines that are traced from its start on.
class traced {
public:
  traced() {
    uCTraceHelper::getInstance().ResetTraceLevel(7);
    uCTraceHelper::getInstance().RedirectToFileTrace(m_folder / "log", 100, 1);
  }
  ~traced() { uCTraceHelper::getInstance().RedirectToConsole(); }
  std::string text() const { return harness::read_file(m_folder / "log-0.log"); }

private:
  harness::temporary_directory m_folder;
};

} // namespace

TEST(SocketEvent, WalksThroughItsStates) {
  chEvent_Socket event;
  const auto is_closed = [&] { return event.GetEventPort() == 0 && event.GetEventSocket() == invalid; };
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(is_closed());
    const traced lines;
    EXPECT_EQ(event.SetEvent() + event.WaitEvent(-1) + event.SendEvent(1), 0);
    EXPECT_THAT(lines.text(), testing::HasSubstr("chEvent_Socket::SetEvent failed!"));
    event.ResetEvent();
    EXPECT_EQ(event.OpenEventA(), 1);
    const int port = event.GetEventPort();
    EXPECT_EQ(event.OpenEventA(), 1);
    EXPECT_EQ(event.GetEventPort(), port);
    EXPECT_EQ(event.SendEvent(0) + event.SendEvent(-1) + event.WaitEvent(0), 0);
    event.CloseEvent();
  }
  EXPECT_TRUE(is_closed());
}

TEST(SocketEvent, CountsASignalForEach) {
  chEvent_Socket event, other;
  EXPECT_TRUE(event.OpenEventA() && other.OpenEventA());
  int taken = 0;
  for (int i = 0; i < 100; ++i) EXPECT_EQ(i % 2 ? event.SetEvent() : other.SendEvent(event.GetEventPort()), 1);
  while (event.WaitEvent(taken < 100 ? soon : 0)) ++taken;
  EXPECT_EQ(taken, 100);
  for (int i = 0; i < 100; ++i) event.SetEvent();
  EXPECT_EQ(event.WaitEvent(-1), 1);
  event.ResetEvent();
  EXPECT_EQ(event.WaitEvent(0), 0);
}

TEST(SocketEvent, ADatagramWithoutContentIsNoSignal) {
  chEvent_Socket event;
  EXPECT_EQ(event.OpenEventA(), 1);
  const chSocketAddr address("127.0.0.1", event.GetEventPort());
  for (int i = 0; i < 2; ++i) {
    sockSendTo(event.GetEventSocket(), "", 0, 0, &address.toSocketAddr(), 16);
    event.SetEvent();
    if (i == 1) event.ResetEvent();
    EXPECT_EQ(i == 0 ? event.WaitEvent(soon) : 0, 0);
    EXPECT_EQ(event.WaitEvent(soon), 1);
  }
}

TEST(SocketEvent, WakesAWaitOnSocketsFromThreadsAndProcesses) {
  connection<> pair;
  chEvent_Socket event;
  EXPECT_EQ(event.OpenEventA(), 1);
  const auto wait = [&] {
    chFD_SET ready(static_cast<int>(pair.local.fd()));
    ready.add(static_cast<int>(event.GetEventSocket()));
    EXPECT_EQ(ready.readSelect(soon), 1);
    EXPECT_TRUE(ready.isSet(static_cast<int>(event.GetEventSocket())));
    EXPECT_EQ(event.WaitEvent(0), 1);
  };
  std::thread signaller([&] { EXPECT_EQ(event.SetEvent(), 1); });
  wait();
  signaller.join();
  EXPECT_EQ(harness::run("event_sender", {std::to_string(event.GetEventPort())}).exit_code, 0);
  wait();
}

TEST(SocketEvent, IsRepairedAfterItsSocketWasClosedUnderneath) {
  chEvent_Socket event;
  for (int round = 0; round < 20; ++round) {
    EXPECT_EQ(event.OpenEventA(), 1);
    sockClose(event.GetEventSocket());
    std::vector<std::thread> signallers; // all of them find it broken; the signals go to the old port
    for (int i = 0; i < 4; ++i) signallers.emplace_back([&] { EXPECT_EQ(event.SetEvent(), 1); });
    for (std::thread &signaller : signallers) signaller.join();
    EXPECT_EQ(address_of(event.GetEventSocket()).port(), event.GetEventPort());
    EXPECT_EQ(event.SetEvent(), 1);
    EXPECT_EQ(event.WaitEvent(soon), 1);
  }
}
