// Datagrams: chSocketUDP, which remembers the sender of the last one.
#pragma once

#include "zarlib/export.h"
#include "zarlib/net/socket.h"

#include <string>
#include <vector>

/// A datagram socket, in blocking mode. IPv4 only: addresses are handed to the system with the length of IPv4.
///
///                   no handle              a handle
///     CreateSocket  opens, or stays        REQUIRES: not called; the first handle would be lost
///     SendTo        false                  sends
///     receiving     -1                     receives
///     destructor    nothing                closes, as DestroySocket() does
///
/// Times are milliseconds, 0 only looks, -1 waits without limit. One thread at a time.
class ZAR_API chSocketUDP : public chSocket {
public:
  chSocketUDP() = default;

  /// Opens a socket; the system gives it a port when it first sends. @return Whether it is open.
  bool CreateSocket(int family);
  /// Opens a socket at a local address.
  /// @return false when the address is not a valid local one with a port, or cannot be bound; then no handle is kept.
  bool CreateSocket(const chSocketAddr &local);
  bool CreateSocket(const std::string &host, int port);

  /// Waits for a datagram and takes it into the buffer, which is empty after any other outcome.
  /// @return Its size, up to 65535; 0 after the time, and for an empty datagram; -1 when the system refuses.
  int ReceiveToBuffer(int timeoutMs);

  /// ReceiveToBuffer(); then `out` takes the datagram, the buffer is empty, and `source`, where it is not null, becomes the sender. Below
  /// 1, both are untouched.
  int ReceiveFrom(std::vector<unsigned char> &out, chSocketAddr *source, int timeoutMs);

  /// Sends one datagram.
  ///
  /// When the system refuses, waits without limit until the socket is writable, and does not send again.
  /// @return Whether it went out whole; true for null data or a size below 1, with nothing sent.
  bool SendTo(const void *data, int size, const chSocketAddr &to);

  /// The last datagram.
  const std::vector<unsigned char> &buffer() const { return m_Buffer; }

  /// The sender of the last datagram; stays when nothing comes.
  const chSocketAddr &sourceAddr() const { return m_SourceAddr; }

private:
  std::vector<unsigned char> m_Buffer;
  std::vector<unsigned char> m_Room; // where datagrams land, 65535 bytes from the first one on
  chSocketAddr m_SourceAddr;
};
