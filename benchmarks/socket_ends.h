// Shared by the socket benchmarks: pinning both ends to one processor, and a connection over the loopback.
#pragma once

#include "zarlib/net/tcp.h"

#include <utility> // needed by the next header, which does not include it

#include <boost/asio.hpp>

#include <sched.h>
#include <sys/socket.h>

constexpr int longest_wait = 20000; // milliseconds

/// Applies to the calling thread and the threads it starts afterwards.
inline void pin_to_one_processor() {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(sched_getcpu(), &set);
  sched_setaffinity(0, sizeof set, &set);
}

/// Connects two sockets to each other.
inline void connect_ends(chSocketTCP &a, chSocketTCP &b) {
  chSocketTCPServer server;
  chSocketAddr address("127.0.0.1", 0);
  socklen_t length = sizeof address;
  server.CreateSocket(AF_INET);
  server.Bind(address);
  server.SocketListen(1);
  getsockname(static_cast<int>(server.fd()), const_cast<sockaddr *>(&address.toSocketAddr()), &length);
  a.CreateSocket(AF_INET);
  a.ConnectTo(address, longest_wait);
  server.AcceptOnSocket(b, &address, longest_wait);
}

inline void connect_ends(boost::asio::ip::tcp::socket &a, boost::asio::ip::tcp::socket &b) {
  using boost::asio::ip::tcp;
  tcp::acceptor server(a.get_executor(), tcp::endpoint(boost::asio::ip::address_v4::loopback(), 0));
  a.connect(server.local_endpoint());
  server.accept(b);
  a.set_option(tcp::no_delay(true));
  b.set_option(tcp::no_delay(true));
}
