// Connected streams: chSocketTCP with its own receive buffer, and chSocketTCPServer, which accepts them.
//
//     chSocketTCP connection;
//     if (!connection.CreateSocket(AF_INET) || !connection.ConnectTo("192.168.1.20", 8080, 3000)) return;
//     connection.Send("GET /\r\n\r\n", 9);
//     std::vector<unsigned char> answer;
//     while (connection.ReceiveStream(answer, 5000) > 0) use(answer);
//
// Times are in milliseconds. A result count is in bytes: 0 means none in time, -1 a dead connection. Nothing throws
// except std::vector when memory runs out; only Send() traces. An object belongs to one thread at a time.
#pragma once

#include "zarlib/export.h"
#include "zarlib/net/socket.h"

#include <memory>
#include <string>
#include <vector>

namespace zar {
class receive_buffer;
}

/// A stream socket. Incoming data is read into its buffer, on which the caller waits and from which it peeks and takes
/// bytes.
///
///                        no handle     not connected                    connected
///     CreateSocket       opens         REQUIRES: not called; the first handle would leak
///     ConnectTo          false         connects; empties the buffer     the same; true at once
///     Send               false         false, and a trace               sends
///     receive, peek      from the buffer only                           from the buffer and the socket
///     Disconnect         nothing       nothing                          not connected; empties the buffer
///     DestroySocket      nothing       no handle; the buffer stays      no handle; empties the buffer
///
/// A connection that a receive or a send finds dead is "not connected" from then on; a receive also shuts it down. Its
/// buffer stays, so that what came before the end can still be read, and its handle is open until DestroySocket().
/// Before reusing such an object for another connection, read its buffer or call seekToEnd().
///
/// Taking bytes costs what is taken, not what is buffered, as long as buffer() has never been called on the object.
class ZAR_API chSocketTCP : public chSocket {
public:
  chSocketTCP();
  /// DestroySocket().
  ~chSocketTCP();

  /// Opens a non-blocking stream socket. @return Whether it is open and non-blocking; it may be open even when false.
  bool CreateSocket(int family);
  /// The same, bound to a local address, which may still be held by connections in TIME_WAIT (SO_REUSEADDR).
  /// @return Also false when the address is not a valid local one with a port, or cannot be bound; then no handle is
  ///         kept.
  bool CreateSocket(const chSocketAddr &local);
  bool CreateSocket(const std::string &host, int port);

  /// Connects, waiting up to the time-out; -1 waits without limit.
  /// @return isConnected(). Only IPv4 connects, see sockAsyncConnect().
  bool ConnectTo(const chSocketAddr &peer, int timeoutMs);
  /// The same. @return false, with nothing changed, when the host is not a numeric address or the port is 0.
  bool ConnectTo(const std::string &host, int port, int timeoutMs);

  void Disconnect();
  void DestroySocket();

  /// Sends all bytes; while the peer does not read, waits without limit.
  ///
  /// Failures are traced at level 7, and so is each time the call has to wait.
  /// @return Whether all bytes were handed to the system. A size of 0 is true on an open socket, a negative one false.
  bool Send(const void *data, int size);

  /// Waits for bytes and reads what is available, up to `maxBytes`, into the buffer, in one read.
  /// @param maxBytes   Above 0. With 0 the connection counts as dead once bytes arrive; a negative value returns 0.
  /// @param timeoutMs  0 only checks; -1 waits without limit.
  /// @return The number of new bytes; 0 on time-out; -1 for a connection that is now dead.
  int selectAndReceive(int maxBytes, int timeoutMs);

  /// If the buffer is empty, waits as selectAndReceive(65535, timeoutMs); otherwise does not touch the socket.
  /// @return The number of bytes in the buffer, at most 2147483647; 0 on time-out; -1 when it is empty and the
  ///         connection is dead.
  int ReceiveToBuffer(int timeoutMs);

  /// ReceiveToBuffer(), then moves that many bytes, normally the whole buffer, to `out`. Below 1, `out` is unchanged.
  int ReceiveStream(std::vector<unsigned char> &out, int timeoutMs);

  /// Waits for `size` bytes and takes them, or whatever has arrived on time-out or when the connection dies.
  /// @param timeoutMs  As for waitForBufferBytes().
  /// @return The number of bytes taken; 0 when none came in time; -1 when none are left and the connection is dead.
  int Receive(void *out, int size, int timeoutMs);

  /// Waits until the buffer holds `count` bytes, reading no more than those. Whatever arrives stays in the buffer in
  /// any case.
  /// @param timeoutMs  Below 1 only buffered bytes count, so -1 does not wait without limit here.
  /// @return Whether the buffer holds them.
  bool waitForBufferBytes(int count, int timeoutMs);

  /// Waits for `offset` + `size` bytes and copies the last `size` of them; they stay in the buffer.
  /// @param out        Unchanged when false. With null, only waits.
  /// @return Whether the bytes were there in time. Also false for a negative offset or size, unless `out` is null.
  bool peek(void *out, int offset, int size, int timeoutMs);
  bool peek(std::vector<unsigned char> &out, int offset, int size, int timeoutMs);

  /// Drops the first `count` bytes of the buffer; all if there are fewer, none if negative.
  void seek(int count);
  /// Drops all.
  void seekToEnd();

  /// Checks, for at most 1 ms, whether the connection is still alive. A byte that has arrived goes to the buffer.
  bool TestConnectivity();
  bool isConnected() const { return m_bConnected; }

  /// The buffer, oldest byte first; valid for the lifetime of the object, and always up to date.
  /// Cost: from the first call on, each operation that takes bytes moves the rest to the front. To take many small
  /// pieces from large buffers, use peek() and Receive().
  const std::vector<unsigned char> &buffer() const;

protected:
  /// Behaves and returns as two Send() calls in sequence, but passes the bytes to the system together.
  ZAR_LOCAL bool send_pieces(const void *first, int firstSize, const void *second, int secondSize);

  /// Drops `skipped` bytes and moves the next `count` into `out`, without a copy where possible.
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

/// A listening socket: CreateSocket() with a local address, SocketListen(), then AcceptOnSocket() for each connection.
class ZAR_API chSocketTCPServer : public chSocketTCP {
public:
  /// @param backlog  How many connections may wait to be accepted. @return Whether the socket is listening.
  bool SocketListen(int backlog);

  /// Waits for a connection and hands it to `client`, connected and non-blocking.
  /// REQUIRES: `client` has no handle, which would leak; `peer` is not null.
  /// @param peer  In: its family sets the expected address length: make it an IPv6 address for an IPv6 socket. Out: the
  ///              peer's address.
  /// @return false on time-out or when the system call fails.
  bool AcceptOnSocket(chSocketTCP &client, chSocketAddr *peer, int timeoutMs);
};

/// Finds the local address from which a peer is reached, by connecting to it for up to 1000 ms.
/// @return An empty address when no connection is established in that time.
ZAR_API chInAddr sockGetLocalIPAddress(const std::string &host, int port);
