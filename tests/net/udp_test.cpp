#include "zarlib/net/udp.h"

#include "tests/net/connection.h"

using bytes = std::vector<unsigned char>;

/// A datagram socket on a loopback port chosen by the system.
struct receiver : chSocketUDP {
  receiver() {
    EXPECT_TRUE(CreateSocket(AF_INET) && Bind(chSocketAddr("127.0.0.1", 0)));
    address = address_of(*this);
  }
  chSocketAddr address;
};

TEST(SocketUDP, ReceivesWholeDatagramsAndTheirSender) {
  receiver one, two;
  bytes largest(65507), out = {1};
  for (size_t i = 0; i < largest.size(); ++i) largest[i] = static_cast<unsigned char>(i * 7);
  EXPECT_TRUE(two.SendTo("ab", 2, one.address) && two.SendTo(largest.data(), 65507, one.address));

  chSocketAddr source;
  EXPECT_EQ(one.ReceiveFrom(out, &source, 5000), 2);
  EXPECT_TRUE(out == bytes({'a', 'b'}) && source == two.address && one.buffer().empty());
  EXPECT_EQ(one.ReceiveToBuffer(5000), 65507);
  EXPECT_TRUE(one.buffer() == largest);
  EXPECT_TRUE(one.ReceiveFrom(out, nullptr, 0) == 0 && one.buffer().empty() && out.size() == 2);
  EXPECT_TRUE(one.sourceAddr() == two.address);
  EXPECT_EQ(sockSendTo(two.fd(), "", 0, 0, &one.address.toSocketAddr(), 16), 0);
  EXPECT_EQ(one.ReceiveToBuffer(5000), 0); // an empty datagram
}

TEST(SocketUDP, RefusesWhatCannotBe) {
  receiver one;
  EXPECT_TRUE(one.SendTo(nullptr, 5, one.address) && one.SendTo("x", 0, one.address) &&
              one.SendTo("x", -1, one.address));
  EXPECT_FALSE(one.ReceiveToBuffer(0) || one.SendTo(bytes(65536).data(), 65536, one.address)); // too large
  chSocketUDP none, second;
  EXPECT_TRUE(!none.SendTo("x", 1, one.address) && none.ReceiveToBuffer(0) == -1);
  EXPECT_FALSE(none.CreateSocket("127.0.0.1", 0) || none.CreateSocket("nobody", 7));
  EXPECT_FALSE(second.CreateSocket(one.address) || second.isValidSocket()); // the port is in use
}
