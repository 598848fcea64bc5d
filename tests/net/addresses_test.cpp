#include "zarlib/net/addresses.h"

#include "tests/support/harness/child_process.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

TEST(Addresses, AcceptsAndRefusesTexts) {
  const struct {
    int family;
    std::vector<const char *> texts;
  } cases[] = {{AF_INET, {"1.2.3.4", "1. 2.3.4", "+1.2.3.4", "255.255.255.255", "001.002.003.004"}},
               {AF_INET6, {"1:2:3:4:5:6:7:8", "abcd:EF01:0:0:0:0:0:0", "1:2:3:4:5:6:7:8/128", "1:2:3:4:5:6:7:8/"}},
               {0, {"", "1.2.3.4 ", "1.2.3.4x", "1.2.3", "256.1.1.1", "001.002.003.0004", "not an address"}},
               {0, {"1:2:3:4:5:6:7:8/129", "1:2:3:4:5:6:7:8/a", "1:2:3:4:5:6:7:8/99999999999", "1:2:3:4:5:6:7"}},
               {0, {"1:2:3:4:5:6:7:8:9", "12345:2:3:4:5:6:7:8", "g:2:3:4:5:6:7:8", "1:2:3:4:5:6:7:8:9:a:"}},
               {0, {"1111:1111:1111:1111:1111:1111:1111:11111"}}};
  for (const auto &c : cases)
    for (const char *text : c.texts) {
      EXPECT_EQ(sockIsValidIPv4(text), c.family == AF_INET) << text;
      EXPECT_EQ(sockIsValidIPv6(text), c.family == AF_INET6) << text;
      chInAddr address;
      EXPECT_TRUE(address.fromString(text) && address.family() == c.family) << text;
    }
}

TEST(Addresses, AnEmptyGroupIsTestedForEver) {
  for (const char *text : {"::1", "1:2:3:4:5:6:7:8:9:", "a::b"}) {
    harness::child_process child("net_program", {text});
    EXPECT_TRUE(child.wait(1000).timed_out) << text;
  }
}

TEST(Addresses, ConvertsIPv6InShortTexts) {
  for (const char *text : {"1:0:2:3:4:5:6:7", "::ffff:1.2.3.4", "::ffff:0:1", "::ffff:0:1.2.3.4", "1::5efe:1.2.3.4"}) {
    in6_addr address;
    EXPECT_EQ(sockInet_pton(AF_INET6, text, &address), 28) << text;
    EXPECT_EQ(toString(address), std::string(text) + std::string(65 - std::strlen(text), '\0'));
    char short_of_one[46];
    EXPECT_EQ(sockInet_ntop(AF_INET6, &address, short_of_one, static_cast<int>(std::strlen(text))), nullptr);
  }
  unsigned char kept[16] = {7, 7};
  for (const char *text : {"", "1:2", "1:2:3:4:5:6:7:8/64", "1.2.3.4", ":::"}) {
    EXPECT_EQ(sockInet_pton(AF_INET6, text, kept), -1) << text;
    EXPECT_TRUE(fromString(text, reinterpret_cast<in6_addr &>(kept)));
  }
  EXPECT_EQ(sockInet_pton(AF_INET, "1.2.3.4", kept), -1);
  EXPECT_TRUE(kept[0] == 7 && kept[1] == 7 && kept[2] == 0);
}

TEST(InAddr, KeepsStaleBytesAndComparesWithoutThem) {
  chInAddr first("1.2.3.4"), second("5.6.7.8"), third("1:2:3:4:5:6:7:8");
  EXPECT_TRUE(first != second && first == chInAddr(first.toInAddr()) && third == chInAddr(third.toIn6Addr()));
  EXPECT_TRUE(first.fromString("nothing") && second.fromString("nothing"));
  EXPECT_TRUE(first == second && first.toString().empty());
  EXPECT_NE(first.toInAddr().s_addr, second.toInAddr().s_addr);
  third.fromString("1:2:3:4:5:6:7:9/64"); // a prefix length is accepted, but the address is not used
  EXPECT_TRUE(third == chInAddr("1:2:3:4:5:6:7:8") && third != chInAddr("1:2:3:4:5:6:7:9"));
}

TEST(SocketAddr, HoldsHostAndPort) {
  const chSocketAddr ipv4("10.0.0.1", 80), ipv6("1:2:3:4:5:6:7:8", 80);
  EXPECT_EQ(chSocketAddr().toString() + ipv4.toString() + ipv6.toString(), ":010.0.0.1:801:2:3:4:5:6:7:8:80");
  EXPECT_TRUE(ipv4.toInAddr() == chInAddr("10.0.0.1") && ipv6.toInAddr() == chInAddr("1:2:3:4:5:6:7:8"));
  EXPECT_TRUE(ipv6 == chSocketAddr("1:2:3:4:5:6:7:8", 80) && ipv6 != ipv4 && ipv4 != chSocketAddr("10.0.0.1", 81));
  const auto *raw = reinterpret_cast<const unsigned char *>(&ipv4.toSocketAddr());
  EXPECT_TRUE(raw[0] == AF_INET && raw[3] == 80 && raw[4] == 10 && raw[7] == 1);
  EXPECT_EQ(reinterpret_cast<const unsigned char *>(&ipv6.toSocketAddr())[8 + 15], 8);

  chSocketAddr address;
  EXPECT_TRUE(!address.CreateSocketAddr("1.2.3.4", 0) && address.family() == AF_INET && address.port() == 0);
  EXPECT_TRUE(address.CreateSocketAddr("1.2.3.4", 65536 + 7) && address.port() == 7);
  EXPECT_TRUE(!address.CreateSocketAddr("nobody", 7) && address == chSocketAddr());
  (address = ipv4).reset();
  EXPECT_TRUE(!address.hasData() && address.port() == 0 && address.toSocketAddr().sa_data[1] == 80);
}

TEST(Addresses, TellsValidLocalAndRemoteOnes) {
  // The validity of the host for local and remote use, and of the socket address.
  const std::pair<int, std::vector<const char *>> cases[] = {
      {1111, {"1.2.3.4", "169.254.0.0", "0:0:0:0:0:0:0:2", "fec0:0:0:0:0:0:0:1"}},
      {1010, {"0.0.0.0", "0:0:0:0:0:0:0:0", "0:0:0:0:0:0:0:1", "fe80:0:0:0:0:0:0:1", "febf:0:0:0:0:0:0:1"}},
      {101, {"ff02:0:0:0:0:0:0:1"}},
      {11, {"0.0.254.169"}},
      {0, {"255.255.255.255", "nobody"}}};
  for (const auto &[answers, texts] : cases)
    for (const char *text : texts) {
      const chInAddr host(text);
      const chSocketAddr whole(host, 1), without_port(host, 0);
      EXPECT_EQ(host.isValidLocalAddr() * 1000 + host.isValidRemoteAddr() * 100, answers / 100 * 100) << text;
      EXPECT_EQ(whole.isValidLocalAddr() * 10 + whole.isValidRemoteAddr(), answers % 100) << text;
      EXPECT_FALSE(without_port.isValidLocalAddr() || without_port.isValidRemoteAddr()) << text;
    }
}
