#include "zarlib/net/tcp.h"

#include "tests/net/connection.h"

#include <gmock/gmock.h>

#include <chrono>
#include <numeric>
#include <random>
#include <thread>

using bytes = std::vector<unsigned char>;
using testing::HasSubstr;

TEST(SocketTCP, ABlockedSendGoesOnWhenThePeerReads) {
  connection<> pair;
  bytes sent(64 << 20);
  std::iota(sent.begin(), sent.end(), static_cast<unsigned char>(0));
  std::thread peer([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300)); // meanwhile the sender fills the system's buffers
    EXPECT_TRUE(pair.remote.waitForBufferBytes(static_cast<int>(sent.size()), 60000));
  });
  EXPECT_TRUE(pair.local.Send(sent.data(), static_cast<int>(sent.size())));
  peer.join();
  EXPECT_TRUE(pair.local.isConnected() && pair.remote.isConnected() && pair.remote.buffer() == sent);
}

TEST(SocketTCP, WhatCameBeforeTheEndStaysReadable) {
  connection<> pair;
  EXPECT_TRUE(pair.remote.TestConnectivity() && pair.local.Send("hello", 5));
  EXPECT_TRUE(pair.remote.selectAndReceive(1, 5000) == 1 && pair.remote.TestConnectivity());
  EXPECT_EQ(pair.remote.buffer().size(), 2u);
  pair.local.DestroySocket();
  EXPECT_FALSE(pair.remote.waitForBufferBytes(6, 5000) || pair.remote.isConnected() || pair.remote.TestConnectivity());
  EXPECT_TRUE(pair.remote.waitForBufferBytes(5, 100) && !pair.remote.waitForBufferBytes(6, 100));
  char text[8] = {};
  EXPECT_EQ(pair.remote.Receive(text, 3, 100), 3);
  pair.remote.Disconnect(); // not connected: the buffer stays
  EXPECT_TRUE(pair.remote.Receive(text + 3, 5, 100) == 2 && std::string(text) == "hello");
  bytes out = {1};
  EXPECT_TRUE(pair.remote.Receive(text, 5, 100) == -1 && pair.remote.ReceiveStream(out, 100) == -1 && out.size() == 1);
  EXPECT_EQ(chSocketTCP().selectAndReceive(10, 0), -1); // no handle
}

TEST(SocketTCP, PullsExactlyWhatIsMissing) {
  connection<> pair;
  const bytes &buffer = pair.remote.buffer();
  EXPECT_TRUE(pair.local.Send("0123456789abcdef", 16));
  chFD_SET(static_cast<int>(pair.remote.fd())).readSelect(-1);
  EXPECT_FALSE(pair.remote.waitForBufferBytes(9, 0) || pair.remote.waitForBufferBytes(9, -1) || !buffer.empty());
  EXPECT_TRUE(pair.remote.waitForBufferBytes(9, 5000) && pair.remote.waitForBufferBytes(9, 0));
  EXPECT_TRUE(pair.remote.peek(nullptr, 2, 8, 5000) && buffer.size() == 10);
  EXPECT_EQ(pair.remote.ReceiveToBuffer(5000), 10); // not empty: the socket is not touched
  EXPECT_EQ(sockPeekRecvLength(pair.remote.fd()), 6);

  bytes out = {7};
  char text[3] = {};
  EXPECT_FALSE(pair.remote.peek(out, 8, 10, 30) || pair.remote.peek(out, -1, 2, 30) ||
               pair.remote.peek(out, 1, -1, 30) || pair.remote.peek(text, 0x7FFFFFFF, 0x7FFFFFFF, 30) ||
               pair.remote.peek(text, -4, 2, 30));
  EXPECT_TRUE(out == bytes({7}) && buffer.size() == 16); // a failed wait keeps what arrived
  EXPECT_TRUE(pair.remote.peek(out, 10, 2, 0) && pair.remote.peek(text, 1, 2, 0));
  EXPECT_TRUE(out == bytes({'a', 'b'}) && text[0] == '1' && text[1] == '2');
  for (const int count : {-1, 14}) pair.remote.seek(count);
  EXPECT_TRUE(buffer == bytes({'e', 'f'}) && pair.remote.Receive(text, -5, 0) == 0);
  pair.remote.seek(100);
  EXPECT_TRUE(buffer.empty() && pair.remote.isConnected() && pair.remote.Receive(text, 1, 20) == 0);
}

TEST(SocketTCP, BufferHoldsTheStreamWhateverIsTaken) {
  for (const bool is_looked_at : {false, true}) {
    connection<> pair;
    std::mt19937 random(7);
    unsigned char next_sent = 0, next_taken = 0;
    size_t unread = 0, buffered = 0;
    for (int i = 0; i < 3000; ++i) {
      bytes data(random() % (i % 10 == 0 ? 70000 : 50));
      for (unsigned char &byte : data) byte = next_sent++;
      ASSERT_TRUE(pair.local.Send(data.data(), static_cast<int>(data.size())));
      unread += data.size();

      const size_t wanted = random() % 3 == 0 ? unread : random() % (unread + 1);
      ASSERT_TRUE(pair.remote.waitForBufferBytes(static_cast<int>(wanted), 5000));
      buffered = std::max(buffered, wanted);
      const size_t offset = random() % (buffered + 1);
      ASSERT_TRUE(pair.remote.peek(data, static_cast<int>(offset), static_cast<int>(buffered - offset), 0));
      ASSERT_TRUE(data.empty() || data[0] == static_cast<unsigned char>(next_taken + offset));
      ASSERT_TRUE(!is_looked_at || pair.remote.buffer().size() == buffered);
      const bool takes_all = random() % 4 == 0 && buffered > 0;
      data.resize(takes_all ? 1 : random() % (buffered + 1));
      const int got = takes_all ? pair.remote.ReceiveStream(data, 0)
                                : pair.remote.Receive(data.data(), static_cast<int>(data.size()), 0);
      ASSERT_EQ(static_cast<size_t>(got), takes_all ? buffered : data.size());
      for (const unsigned char byte : data) ASSERT_EQ(byte, next_taken++);
      unread -= data.size();
      buffered -= data.size();
    }
    EXPECT_EQ(pair.remote.buffer().size(), buffered);
  }
}

// Quadratic work would move terabytes and exceed the test's time limit.
TEST(SocketTCP, TakesSmallPiecesFromALargeBuffer) {
  constexpr int size = 8 << 20, piece = 8;
  connection<> pair;
  const bytes sent(size, 'x');
  std::thread sender([&] { pair.local.Send(sent.data(), size); });
  EXPECT_TRUE(pair.remote.waitForBufferBytes(size, 60000));
  sender.join();
  char out[piece];
  for (int i = 0; i < size / piece; ++i) ASSERT_EQ(pair.remote.Receive(out, piece, 0), piece);
  EXPECT_EQ(pair.remote.ReceiveToBuffer(0), 0);
}

TEST(SocketTCP, SendTellsItsFailures) {
  connection<> pair;
  uCTraceHelper::getInstance().ResetTraceLevel(7);
  testing::internal::CaptureStdout();
  const auto traced = [] {
    const std::string lines = testing::internal::GetCapturedStdout();
    testing::internal::CaptureStdout();
    return lines;
  };
  EXPECT_TRUE(!chSocketTCP().Send("x", 1) && pair.local.Send("x", 0));
  EXPECT_EQ(traced(), "");
  EXPECT_FALSE(pair.local.Send("x", -3));
  EXPECT_THAT(traced(), HasSubstr("chSocketTCP::Send failed! nBytes:[-3] m_bConnected:[1]"));
  chSocketTCP idle;
  EXPECT_TRUE(idle.CreateSocket(AF_INET) && idle.Send("x", 0));
  EXPECT_THAT(traced(), HasSubstr("chSocketTCP::Send failed! nBytes:[0] m_bConnected:[0]"));

  pair.remote.DestroySocket();
  while (pair.local.Send("x", 1)) chFD_SET(static_cast<int>(pair.local.fd())).writeSelect(1000);
  EXPECT_FALSE(pair.local.isConnected());
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::AllOf(HasSubstr("chSocketTCP::Send failed! nSendCount=0 errno:["), HasSubstr("]["),
                             HasSubstr("chSocketTCP::Send failed! nBytes:[1] m_bConnected:[0]")));
}

TEST(SocketTCP, OpensAndConnectsByAddress) {
  connection<> pair;
  EXPECT_TRUE(pair.peer == address_of(pair.local));
  chSocketTCP unused;
  for (const char *host : {"127.0.0.1", "255.255.255.255", "nobody"}) EXPECT_FALSE(unused.CreateSocket(host, 0));
  EXPECT_FALSE(unused.CreateSocket("203.0.113.1", 7) || unused.isValidSocket()); // no address of this machine
  EXPECT_FALSE(pair.server.AcceptOnSocket(unused, &pair.peer, 0) || unused.isValidSocket());

  EXPECT_TRUE(pair.remote.Send("left", 4) && pair.local.waitForBufferBytes(4, 5000));
  EXPECT_FALSE(pair.local.ConnectTo("nobody", 1, 0) || pair.local.ConnectTo("1.2.3.4", 0, 0));
  EXPECT_TRUE(pair.local.isConnected() && pair.local.buffer().size() == 4);
  EXPECT_TRUE(pair.local.ConnectTo(pair.server.address, 1000) && pair.local.buffer().empty()); // already connected
}
