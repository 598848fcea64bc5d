#include "zarlib/net/packet_tcp.h"

#include "tests/net/connection.h"
#include "tests/support/harness/child_process.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <random>
#include <thread>

namespace {

using bytes = std::vector<unsigned char>;
using ends = connection<chSocketPacketTCP>;

constexpr int soon = 20000, now = 1;

int size_of(const bytes &data) { return static_cast<int>(data.size()); }
bool send(chSocketPacketTCP &socket, const bytes &payload) {
  return socket.SendOnePacket(payload.data(), size_of(payload));
}

/// Receives one packet that must come, or must not.
void expect_packet(chSocketPacketTCP &socket, const bytes &payload) {
  bytes out = {1};
  ASSERT_TRUE(socket.ReceiveOnePacket(out, soon));
  ASSERT_EQ(out, payload);
}
void expect_none(chSocketPacketTCP &socket, int timeout, bool stays_connected) {
  bytes out = {1};
  EXPECT_FALSE(socket.ReceiveOnePacket(out, timeout));
  EXPECT_EQ(out, bytes{1});
  EXPECT_EQ(socket.isConnected(), stays_connected);
}

bool python_is_there() {
#ifdef _WIN32
  return false; // Wine starts the native one, but cannot wait for it
#else
  return harness::run("/usr/bin/env", {"python3", "-c", ""}).exit_code == 0;
#endif
}

} // namespace

// A middleman hands on the bytes of three packets up to each place, then holds the rest back for a while, or for ever.
TEST(PacketTCP, TakesUpOrLosesAPacketThatIsCutAnywhere) {
  const bytes packets[] = {{'A', 'B', 'C'}, {0, 0, 0, 1}, bytes(300, 'x')};
  ends source;
  for (const bytes &packet : packets) EXPECT_TRUE(send(source.local, packet));
  bytes stream;
  ASSERT_TRUE(source.remote.peek(stream, 0, 7 + 8 + 304, soon));
  EXPECT_EQ(bytes(stream.begin(), stream.begin() + 7), (bytes{0, 0, 0, 3, 'A', 'B', 'C'}));

  for (size_t place = 0; place <= stream.size(); ++place) {
    const size_t whole = place < 7 ? 0 : place < 15 ? 1 : place < 319 ? 2 : 3;
    for (const bool goes_on : {true, false}) {
      ends hop;
      EXPECT_TRUE(hop.local.Send(stream.data(), static_cast<int>(place)));
      for (size_t i = 0; i < whole; ++i) expect_packet(hop.remote, packets[i]);
      expect_none(hop.remote, now, true);
      if (!goes_on) {
        hop.local.DestroySocket();
        expect_none(hop.remote, soon, false);
        continue;
      }
      EXPECT_TRUE(hop.local.Send(stream.data() + place, static_cast<int>(stream.size() - place)));
      for (size_t i = whole; i < 3; ++i) expect_packet(hop.remote, packets[i]);
    }
  }
}

TEST(PacketTCP, RefusesOnlyWhatIsEmptyToSendAndTooLongToReceive) {
  ends pair;
  const bytes largest(4194304, 'L');
  EXPECT_FALSE(pair.local.SendOnePacket("x", 0) || pair.local.SendOnePacket("x", -1));
  pair.local.Send("\0\0\0\0", 4); // what cannot be sent can be received
  expect_packet(pair.remote, {});
  std::thread sender([&] { EXPECT_TRUE(send(pair.local, largest)); });
  expect_packet(pair.remote, largest);
  sender.join();

  for (const auto &[header, told] : {std::pair("\x00\x40\x00\x01", "4194305"), std::pair("\xFF\xFF\xFF\xFF", "-1")}) {
    ends other;
    other.local.Send("\0\0\0\1A", 5);
    other.local.Send(header, 4);
    expect_packet(other.remote, {'A'});
    testing::internal::CaptureStderr();
    expect_none(other.remote, soon, false);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr(std::string("Disconnect for received invalid packet bytes of ") + told + ",  it."));
    EXPECT_TRUE(other.remote.buffer().empty());
    EXPECT_EQ(other.local.ReceiveToBuffer(soon), -1);
  }
}

TEST(PacketTCP, RandomPacketsArriveInOrderHoweverTheyAreRead) {
  ends pair;
  std::mt19937 random(1);
  std::vector<bytes> packets(3000);
  for (bytes &packet : packets)
    packet.assign(1 + random() % (random() % 50 ? 100 : 100000), static_cast<unsigned char>(random()));
  std::thread sender([&] {
    for (const bytes &packet : packets) EXPECT_TRUE(send(pair.local, packet));
  });
  for (size_t i = 0; i < packets.size(); ++i) {
    if (random() % 8 == 0) pair.remote.selectAndReceive(static_cast<int>(1 + random() % 65535), 0);
    if (i == 2000) pair.remote.buffer(); // from here on the buffer stays in one piece
    expect_packet(pair.remote, packets[i]);
  }
  sender.join();
}

TEST(PacketTCP, PacketsThatAreBufferedNeedNoSocket) {
  ends pair;
  EXPECT_TRUE(send(pair.local, {'a'}) && send(pair.local, {'b'}));
  EXPECT_TRUE(pair.remote.peek(nullptr, 0, 10, soon));
  pair.local.DestroySocket();
  EXPECT_EQ(pair.remote.selectAndReceive(1, soon), -1);
  expect_packet(pair.remote, {'a'});
  expect_packet(pair.remote, {'b'});
  expect_none(pair.remote, soon, false);
}

TEST(PacketTCP, TalksToAPeerThatIsWrittenInAnotherLanguage) {
  if (!python_is_there()) GTEST_SKIP() << "python3 cannot be started from here";
  listener server;
  const std::string program = harness::program_folder() + "packet_peer.py";
  harness::child_process peer("/usr/bin/env", {"python3", program, std::to_string(server.address.port())});
  chSocketPacketTCP socket;
  chSocketAddr address;
  ASSERT_TRUE(server.AcceptOnSocket(socket, &address, soon));
  for (const size_t size : {1, 2, 255, 256, 65536, 100000}) {
    bytes payload(size, '-');
    payload.back() = '<';
    EXPECT_TRUE(send(socket, payload));
    expect_packet(socket, bytes(payload.rbegin(), payload.rend()));
    expect_packet(socket, {});
  }
  socket.DestroySocket();
  EXPECT_EQ(peer.wait().exit_code, 0);
}

// Two clients and this test, which speaks the frame as any program may.
TEST(PacketTCP, CarriesTheExampleChat) {
  harness::child_process server("packet_chat", {"serve"});
  int port = 0, event = 0;
  ASSERT_EQ(std::sscanf(server.read_line().c_str(), "port %d, to be stopped by event %d", &port, &event), 2);
  harness::child_process first("packet_chat", {"join", std::to_string(port), "first"});
  EXPECT_EQ(first.read_line(), "welcome, others: 0");
  chSocketPacketTCP own;
  ASSERT_TRUE(own.CreateSocket(AF_INET) && own.ConnectTo("127.0.0.1", port, soon));
  bytes message;
  EXPECT_TRUE(own.ReceiveOnePacket(message, soon));

  first.write("hello\nagain\n");
  for (const std::string text : {"first: hello", "first: again"}) expect_packet(own, bytes(text.begin(), text.end()));
  EXPECT_TRUE(send(own, {'o', 'w', 'n'}));
  EXPECT_EQ(first.read_line(), "own");
  EXPECT_TRUE(send(own, bytes(4097, 'x'))); // too long: the server gives this client up
  expect_none(own, soon, false);
  EXPECT_EQ(harness::run("packet_chat", {"stop", std::to_string(event)}).exit_code, 0);
  EXPECT_EQ(server.wait().exit_code, 0);
  EXPECT_EQ(first.wait().exit_code, 1); // the server has gone
  EXPECT_EQ(harness::run("packet_chat", {"join", std::to_string(port), "late"}).exit_code, 1);
}
