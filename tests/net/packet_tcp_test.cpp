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

bool send(chSocketPacketTCP &socket, const bytes &payload) {
  return socket.SendOnePacket(payload.data(), static_cast<int>(payload.size()));
}
void expect_packet(chSocketPacketTCP &socket, const bytes &payload) {
  bytes out = {1};
  ASSERT_TRUE(socket.ReceiveOnePacket(out, soon));
  ASSERT_EQ(out, payload);
}
void expect_none(chSocketPacketTCP &socket, int timeout, bool stays_connected) {
  bytes out = {1};
  EXPECT_FALSE(socket.ReceiveOnePacket(out, timeout));
  EXPECT_TRUE(out == bytes{1} && socket.isConnected() == stays_connected);
}

} // namespace

// A relay forwards the bytes of three packets up to each position, then delays the rest, or never sends it.
TEST(PacketTCP, TakesUpOrLosesAPacketThatIsCutAnywhere) {
  const bytes packets[] = {{'A', 'B', 'C'}, {0, 0, 0, 1}, bytes(300, 'x')};
  ends source;
  for (const bytes &packet : packets) EXPECT_TRUE(send(source.local, packet));
  bytes stream;
  ASSERT_TRUE(source.remote.peek(stream, 0, 7 + 8 + 304, soon));
  EXPECT_EQ(bytes(stream.begin(), stream.begin() + 7), (bytes{0, 0, 0, 3, 'A', 'B', 'C'}));
  for (int place = 0; place <= 319; ++place)
    for (const bool goes_on : {true, false}) { // if false, the rest never comes
      const int whole = place < 7 ? 0 : place < 15 ? 1 : place < 319 ? 2 : 3;
      ends hop;
      hop.local.Send(stream.data(), place);
      for (int i = 0; i < whole; ++i) expect_packet(hop.remote, packets[i]);
      expect_none(hop.remote, now, true);
      if (goes_on) hop.local.Send(stream.data() + place, 319 - place);
      hop.local.DestroySocket();
      for (int i = whole; i < 3 && goes_on; ++i) expect_packet(hop.remote, packets[i]);
      expect_none(hop.remote, soon, false);
    }
}

TEST(PacketTCP, RefusesOnlyWhatIsEmptyToSendAndTooLongToReceive) {
  ends pair;
  const bytes largest(4194304, 'L');
  EXPECT_FALSE(pair.local.SendOnePacket("x", 0) || pair.local.SendOnePacket("x", -1));
  pair.local.Send("\0\0\0\0", 4); // the library cannot send it, but receives it
  expect_packet(pair.remote, {});
  std::thread sender([&] { EXPECT_TRUE(send(pair.local, largest)); });
  expect_packet(pair.remote, largest);
  sender.join();
  for (const auto &[header, told] :
       {std::pair("\x00\x40\x00\x01", "of 4194305,  it."), std::pair("\xFF\xFF\xFF\xFF", "of -1,  it.")}) {
    ends other;
    other.local.Send(header, 4);
    testing::internal::CaptureStderr();
    expect_none(other.remote, soon, false);
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr(std::string("Disconnect for received invalid packet bytes ") + told));
    EXPECT_TRUE(other.remote.buffer().empty() && other.local.ReceiveToBuffer(soon) == -1);
  }
}

TEST(PacketTCP, RandomPacketsArriveInOrderHoweverTheyAreRead) {
  ends pair;
  std::mt19937 random(1);
  for (int round = 0; round < 100; ++round) {
    std::vector<bytes> packets(50);
    for (bytes &packet : packets)
      packet.assign(1 + random() % (random() % 50 ? 100 : 5000), static_cast<unsigned char>(random()));
    for (const bytes &packet : packets) EXPECT_TRUE(send(pair.local, packet));
    for (const bytes &packet : packets) {
      if (random() % 8 == 0) pair.remote.selectAndReceive(static_cast<int>(1 + random() % 65535), 0);
      expect_packet(pair.remote, packet);
    }
  }
}

// The example's clients talk to each other, and to one in another language. Events wake the server (from another
// process) and the clients (from another thread) from their waits on sockets.
TEST(PacketTCP, CarriesTheExampleChat) {
  harness::child_process server("packet_chat", {"serve"});
  int port = 0, event = 0;
  ASSERT_EQ(std::sscanf(server.read_line().c_str(), "port %d, to be stopped by event %d", &port, &event), 2);
  const std::string number = std::to_string(port), line(300, 'h');
  harness::child_process first("packet_chat", {"join", number, "first"});
  EXPECT_EQ(first.read_line(), "welcome, others: 0");
  harness::child_process second("packet_chat", {"join", number, "second"});
  EXPECT_EQ(second.read_line(), "welcome, others: 1");
  first.write(line + "\n");
  EXPECT_EQ(second.read_line(), "first: " + line);
#ifndef _WIN32 // Wine cannot wait for a native program
  harness::child_process peer("/usr/bin/env", {"python3", harness::program_folder() + "packet_peer.py", number});
  if (peer.read_line() != "welcome, others: 2") GTEST_SKIP() << "there is no python3";
  first.write(line + "\n");
  EXPECT_EQ(first.read_line(), line + " :tsrif");
#endif
  EXPECT_EQ(harness::run("packet_chat", {"stop", std::to_string(event)}).exit_code, 0);
  EXPECT_EQ(server.wait().exit_code, 0);
  EXPECT_EQ(first.wait().exit_code, 1); // the server has gone
}
