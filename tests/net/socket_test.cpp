#include "zarlib/net/socket.h"

#include "tests/net/connection.h"
#include "zarlib/text/environment.h"

#include <gtest/gtest.h>

#include <vector>

#ifdef _WIN32
#include <ws2tcpip.h>
#else
#include <fcntl.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <unistd.h>
#endif

TEST(FdSet, HoldsSixtyFourHandlesOnceEach) {
  chFD_SET set(-1);
  EXPECT_TRUE(set.getFdSet().fd_count == 1 && set.isSet(-1) && set.getFdMax() == 0);
  set.clear();
  for (int fd = 100; fd < 166; ++fd) set.add(fd), set.add(100);
  EXPECT_TRUE(set.getFdSet().fd_count == 64 && set.isSet(163) && !set.isSet(164) && set.getFdMax() == 166);
}

TEST(FdSet, WaitsForReadyHandles) {
  connection<> pair;
  const unsigned quiet = pair.local.fd(), reader = pair.remote.fd();
  const auto wait = [&](auto select, int milliseconds, std::vector<unsigned> handles) {
    chFD_SET set;
    for (const unsigned handle : handles) set.add(static_cast<int>(handle));
    const int ready = (set.*select)(milliseconds);
    EXPECT_TRUE(ready < 0 || (zarGetLastError() == 0 && set.getFdSet().fd_count == static_cast<unsigned>(ready)));
    return std::make_pair(ready, set.isSet(static_cast<int>(reader)));
  };
  for (const int time : {0, 20})
    EXPECT_EQ(wait(&chFD_SET::readSelect, time, {quiet, reader}), std::make_pair(0, false));
  EXPECT_EQ(wait(&chFD_SET::writeSelect, -1, {quiet, reader}), std::make_pair(2, true));
  pair.local.Send("x", 1);
  EXPECT_EQ(wait(&chFD_SET::readSelect, -1, {quiet, reader}), std::make_pair(1, true));
  EXPECT_EQ(sockPeekRecvLength(reader), 1);
  // A handle that is not an open socket makes the whole wait fail.
  pair.local.DestroySocket();
  for (const std::vector<unsigned> &handles : {std::vector<unsigned>{reader, quiet}, {reader, 0xFFFFFFFFu}, {}})
    EXPECT_EQ(wait(&chFD_SET::readSelect, -1, handles).first, -1);
  EXPECT_EQ(sockPeekRecvLength(quiet), -1);
}

#ifndef _WIN32
TEST(FdSet, WaitsForNumbersAboveAThousandOnLinux) {
  const rlimit limit = {4096, 4096};
  if (setrlimit(RLIMIT_NOFILE, &limit) != 0) GTEST_SKIP() << "no right to open 4096 files";
  std::vector<int> files;
  for (int i = 0; i < 2000; ++i) files.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
  {
    connection<> pair;
    EXPECT_TRUE(pair.local.fd() > 2000 && pair.local.Send("ab", 2) && pair.remote.waitForBufferBytes(2, 5000));
  }
  for (const int file : files) close(file);
}
#endif

TEST(Socket, IsOfTheProcessAloneAndSendsSmallPacketsAtOnce) {
  connection<> pair;
  for (const unsigned fd : {pair.local.fd(), pair.remote.fd()}) {
    int at_once = 0;
#ifdef _WIN32
    DWORD flags = HANDLE_FLAG_INHERIT;
    EXPECT_TRUE(GetHandleInformation(reinterpret_cast<HANDLE>(fd), &flags) && !(flags & HANDLE_FLAG_INHERIT));
    int length = sizeof at_once;
#else
    EXPECT_EQ(fcntl(static_cast<int>(fd), F_GETFD), FD_CLOEXEC);
    socklen_t length = sizeof at_once;
#endif
    getsockopt(fd, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<char *>(&at_once), &length);
    EXPECT_NE(at_once, 0);
  }
  // A broken connection gives an error, not a SIGPIPE.
  pair.remote.DestroySocket();
  while (sockSend(pair.local.fd(), "x", 1, 0) != -1) chFD_SET(static_cast<int>(pair.local.fd())).writeSelect(1000);
  EXPECT_NE(zarGetLastError(), 0u);
}

TEST(Socket, ConnectsInTime) {
  listener server;
  chSocketTCP socket, refused, ipv6;
  EXPECT_TRUE(socket.CreateSocket(AF_INET) && refused.CreateSocket(AF_INET));
  EXPECT_TRUE(sockAsyncConnect(socket.fd(), &server.address.toSocketAddr(), 5000));
  EXPECT_TRUE(sockAsyncConnect(socket.fd(), &server.address.toSocketAddr(), 0)); // already connected
  server.DestroySocket();
  for (const unsigned fd : {refused.fd(), 0xFFFFFFFFu})
    EXPECT_FALSE(sockAsyncConnect(fd, &server.address.toSocketAddr(), 500));
  ipv6.CreateSocket(AF_INET6);
  EXPECT_FALSE(ipv6.ConnectTo(chSocketAddr("0:0:0:0:0:0:0:1", server.address.port()), 1000));
}

TEST(Socket, RefusesNegativeSizesAndKeepsToItsMode) {
  connection<> pair;
  const unsigned fd = pair.local.fd();
  char text[4] = "abc";
  EXPECT_TRUE(pair.remote.Send("xyz", 3) && chFD_SET(static_cast<int>(fd)).readSelect(-1) == 1);
  EXPECT_EQ(sockSend(fd, text, -1, 0) + sockSendTo(fd, text, -1, 0, nullptr, 0), -2);
  EXPECT_EQ(sockRecv(fd, text, -1, 0) + sockRecvFrom(fd, text, -1, 0, nullptr, nullptr), -2);
  for (const int result : {3, -1}) EXPECT_EQ(sockRecv(fd, text, 4, 0), result); // the socket is non-blocking
  EXPECT_TRUE(sockSetBlocking(fd, true) && !sockSetBlocking(0xFFFFFFFF, true));
}

TEST(Socket, KnowsTheMachine) {
  EXPECT_EQ(sockGetHardwareAddress(""), sockGetHardwareAddress("ignored"));
  EXPECT_FALSE(sockGetLocalIPAddress("").isIPv6() || sockGetLocalIPAddress("nobody", 1).hasData());
  listener server;
  EXPECT_TRUE(sockGetLocalIPAddress("127.0.0.1", server.address.port()) == chInAddr("127.0.0.1"));
}
