// Both ends of a connection over the loopback.
#pragma once

#include "zarlib/net/tcp.h"
#include "zarlib/trace/tracer_manager.h"

#include <gtest/gtest.h>

/// The local address of a socket.
inline chSocketAddr address_of(unsigned fd) {
  chSocketAddr address;
  auto *raw = const_cast<sockaddr *>(&address.toSocketAddr());
#ifdef _WIN32
  int length = sizeof address;
#else
  socklen_t length = sizeof address;
#endif
  EXPECT_EQ(getsockname(fd, raw, &length), 0);
  return address;
}
inline chSocketAddr address_of(const chSocket &socket) { return address_of(socket.fd()); }

/// Listens on a port chosen by the system.
struct listener : chSocketTCPServer {
  listener() {
    EXPECT_TRUE(CreateSocket(AF_INET) && Bind(chSocketAddr("127.0.0.1", 0)) && SocketListen(5));
    address = address_of(*this);
  }
  chSocketAddr address;
};

/// `Socket` is chSocketTCP or a class derived from it. Sends that wait are not traced.
template <typename Socket = chSocketTCP>
struct connection {
  connection() {
    uCTraceHelper::getInstance().ResetTraceLevel(6);
    EXPECT_TRUE(local.CreateSocket(AF_INET) && local.ConnectTo(server.address, 5000));
    EXPECT_TRUE(server.AcceptOnSocket(remote, &peer, 5000));
  }

  listener server;
  chSocketAddr peer; // what AcceptOnSocket() reported for `local`
  Socket local, remote;
};
