// Connected streams: chSocketTCP with a receive buffer of its own, chSocketTCPServer, which accepts them.
//
//     chSocketTCP connection;
//     if (!connection.CreateSocket(AF_INET) || !connection.ConnectTo("192.168.1.20", 8080, 3000)) return;
//     connection.Send("GET /\r\n\r\n", 9);
//     std::vector<unsigned char> answer;
//     while (connection.ReceiveStream(answer, 5000) > 0) use(answer);
//
// Times are milliseconds. A count as a result is a number of bytes: 0 is nothing within the time, -1 a dead connection. Nothing
// throws but what std::vector throws for want of memory; Send() alone traces. An object belongs to one thread at a time.
#pragma once

#include "zarlib/export.h"
#include "zarlib/net/socket.h"

#include <memory>
#include <string>
#include <vector>

namespace zar {
class receive_buffer;
}

/// A stream socket. What arrives is pulled into its buffer, from which the caller waits for, looks at and takes bytes.
///
///                        no handle     not connected                    connected
///     CreateSocket       opens         REQUIRES: not called; the first handle would be lost
///     ConnectTo          false         connects; empties the buffer     the same; true at once
///     Send               false         false, and a trace               sends
///     taking, looking    from the buffer only                           from the buffer and the socket
///     Disconnect         nothing       nothing                          not connected; empties the buffer
///     DestroySocket      nothing       no handle; the buffer stays      no handle; empties the buffer
///
/// A connection that a receiving or sending operation finds dead is "not connected" from then on, shut down by the receiving ones.
/// Its buffer stays, so that what came before the end can still be read, and its handle is open until DestroySocket(). Before such an
/// object serves another connection, read its buffer or seekToEnd().
///
/// Taking bytes costs what is taken, not what is buffered, as long as buffer() has never been called on the object.
class ZAR_API chSocketTCP : public chSocket {
public:
  chSocketTCP();
  /// DestroySocket().
  ~chSocketTCP();

  /// Opens a non-blocking stream socket. @return Whether it is open and non-blocking; open it may be even when false.
  bool CreateSocket(int family);
  /// The same, bound to a local address that may be in use by fading connections.
  /// @return false too when the address is not a valid local one with a port, or cannot be bound; then no handle is kept.
  bool CreateSocket(const chSocketAddr &local);
  bool CreateSocket(const std::string &host, int port);

  /// Connects; waits up to the time, -1 without limit.
  /// @return isConnected(). Only IPv4 connects, see sockAsyncConnect().
  bool ConnectTo(const chSocketAddr &peer, int timeoutMs);
  /// The same. @return false, with nothing else touched, when the host is no numeric address or the port is 0.
  bool ConnectTo(const std::string &host, int port, int timeoutMs);

  void Disconnect();
  void DestroySocket();

  /// Sends all bytes; where the peer does not read, waits for it without limit.
  ///
  /// A failure is traced at level 7, and so is each time that the call has to wait.
  /// @return Whether all bytes went to the system. A size of 0 is true on an open socket, a negative one false.
  bool Send(const void *data, int size);

  /// Waits for bytes and takes what is there, up to `maxBytes`, into the buffer, in one read.
  /// @param maxBytes   Above 0. With 0 the connection counts as dead once bytes are there; a negative one is refused with 0.
  /// @param timeoutMs  0 only looks; -1 waits without limit.
  /// @return The count of new bytes; 0; -1 for a connection that is now dead.
  int selectAndReceive(int maxBytes, int timeoutMs);

  /// With an empty buffer waits as selectAndReceive(65535, timeoutMs), else does not touch the socket.
  /// @return The count of bytes in the buffer, 2147483647 for more; 0; -1 when there are none and the connection is dead.
  int ReceiveToBuffer(int timeoutMs);

  /// ReceiveToBuffer(); `out` then takes so many bytes, that is the whole buffer but for more than 2147483647. Below 1, `out` is untouched.
  int ReceiveStream(std::vector<unsigned char> &out, int timeoutMs);

  /// Waits for `size` bytes and takes them, or what has come when the time is over or the connection dead.
  /// @param timeoutMs  As for waitForBufferBytes().
  /// @return The count of bytes taken; 0 when none came in time; -1 when none are left and the connection is dead.
  int Receive(void *out, int size, int timeoutMs);

  /// Waits until the buffer holds `count` bytes, and reads no byte more than those. What came stays in the buffer in any case.
  /// @param timeoutMs  With less than 1 only what is buffered counts, so -1 is no endless wait here.
  /// @return Whether the buffer holds them.
  bool waitForBufferBytes(int count, int timeoutMs);

  /// Waits for `offset` + `size` bytes and copies the last `size` of them; they stay in the buffer.
  /// @param out        Untouched when false. With null, the wait is all.
  /// @return Whether the bytes were there in time. false too for a negative offset or size.
  bool peek(void *out, int offset, int size, int timeoutMs);
  bool peek(std::vector<unsigned char> &out, int offset, int size, int timeoutMs);

  /// Drops the first `count` bytes of the buffer; all where there are fewer, none where it is negative.
  void seek(int count);
  /// Drops all.
  void seekToEnd();

  /// Looks whether the connection still stands, for 1 ms at the most. A byte that has come goes to the buffer.
  bool TestConnectivity();
  bool isConnected() const { return m_bConnected; }

  /// The buffer, the oldest byte first; valid as long as the object, and always up to date.
  /// Cost: from the first call on, each operation that takes bytes moves the rest to the front. Programs that take many small pieces from
  /// large buffers use peek() and Receive().
  const std::vector<unsigned char> &buffer() const;

protected:
  /// Two Send() calls, answered as if one came after the other; the bytes go to the system together.
  ZAR_LOCAL bool send_pieces(const void *first, int firstSize, const void *second, int secondSize);

  /// Drops `skipped` bytes and moves the next `count` into `out`, without a copy where that can be.
  /// REQUIRES: the buffer holds that many.
  ZAR_LOCAL void take(int skipped, int count, std::vector<unsigned char> &out);

private:
  friend class chSocketTCPServer;
  struct unsent;

  ZAR_LOCAL bool send_all(unsent first, unsent second);
  ZAR_LOCAL int receive_now(int size);
  ZAR_LOCAL int receive_later(int size, int timeoutMs);
  ZAR_LOCAL int receive_within(int size, int timeoutMs);
  ZAR_LOCAL int keep(int count);
  ZAR_LOCAL void lose_connection();

  bool m_bConnected = false;
  std::unique_ptr<zar::receive_buffer> m_Buffer;
};

/// A socket that takes connections: CreateSocket() with a local address, SocketListen(), then AcceptOnSocket() for each.
class ZAR_API chSocketTCPServer : public chSocketTCP {
public:
  /// @param backlog  How many connections may wait to be accepted. @return Whether the socket takes connections.
  bool SocketListen(int backlog);

  /// Waits for a connection and hands it to `client`, connected and non-blocking.
  /// REQUIRES: `client` has no handle, which would be lost; `peer` is not null.
  /// @param peer  In: its family says how long an address is expected: make it an IPv6 one for an IPv6 socket. Out: the peer's address.
  /// @return false after the time, or when the system refuses.
  bool AcceptOnSocket(chSocketTCP &client, chSocketAddr *peer, int timeoutMs);
};

/// Finds the local address from which a peer is reached, by connecting to it for up to 1000 ms.
/// @return An empty address when the connection does not stand in that time.
ZAR_API chInAddr sockGetLocalIPAddress(const std::string &host, int port);
