// Datagrams: chSocketUDP, which remembers the sender of the last one.
#pragma once

#include "zarlib/export.h"
#include "zarlib/net/socket.h"

#include <string>
#include <vector>

/// A blocking datagram socket. IPv4 only: addresses are passed to the system with the length of IPv4.
///
///                   no handle              a handle
///     CreateSocket  opens, or stays        REQUIRES: not called; the first handle would leak
///     SendTo        false                  sends
///     receiving     -1                     receives
///     destructor    nothing                closes, as DestroySocket() does
///
/// Times are in milliseconds: 0 only checks, -1 waits without limit. One thread at a time.
class ZAR_API chSocketUDP : public chSocket {
public:
  chSocketUDP() = default;

  /// Opens a socket; the system assigns a port on the first send. @return Whether it is open.
  bool CreateSocket(int family);
  /// Opens a socket bound to a local address.
  /// @return false when the address is not a valid local one with a port, or cannot be bound; then no handle is kept.
  bool CreateSocket(const chSocketAddr &local);
  bool CreateSocket(const std::string &host, int port);

  /// Waits for a datagram and reads it into the buffer, which is empty after any other outcome.
  /// @return Its size, up to 65535; 0 on time-out and for an empty datagram; -1 when the system call fails.
  int ReceiveToBuffer(int timeoutMs);

  /// ReceiveToBuffer(); then `out` takes the datagram, the buffer is empty, and `source`, unless null, receives the
  /// sender. Below 1, both are unchanged.
  int ReceiveFrom(std::vector<unsigned char> &out, chSocketAddr *source, int timeoutMs);

  /// Sends one datagram.
  ///
  /// If the system call fails, waits without limit until the socket is writable, but does not send again.
  /// @return Whether it was sent whole; true for null data or a size below 1, with nothing sent.
  bool SendTo(const void *data, int size, const chSocketAddr &to);

  /// The last datagram.
  const std::vector<unsigned char> &buffer() const { return m_Buffer; }

  /// The sender of the last datagram; unchanged when none arrives.
  const chSocketAddr &sourceAddr() const { return m_SourceAddr; }

private:
  std::vector<unsigned char> m_Buffer;
  std::vector<unsigned char> m_Room; // where datagrams are received, 65535 bytes once one was received
  chSocketAddr m_SourceAddr;
};
