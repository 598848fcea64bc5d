// Access to the system's sockets: the sock... functions, chSocket, which owns a handle, and chFD_SET, which waits.
//
// A handle is an unsigned 32-bit number; 0xFFFFFFFF is the invalid one. Times are in milliseconds. Nothing here traces
// or throws: a failure is -1, the invalid handle, false or an empty address, and zarGetLastError() then holds the
// system's code (a Winsock code on Windows, an errno value on Linux). Sockets created here are not inherited by child
// processes, streams send small packets at once (TCP_NODELAY), a broken connection is an error and never a signal, and
// signal handlers interrupt no call. A negative size returns -1.
//
// Any thread may call the functions; a chSocket and a chFD_SET belong to one thread at a time.
#pragma once

#include "zarlib/export.h"
#include "zarlib/net/addresses.h"

#include <string>

/// Accepts the next connection of a listening socket; waits for it if the socket is blocking.
/// @param len  In: the room at `addr`. Out: the length of the peer's address. Both pointers may be null.
/// @return The new socket, or the invalid handle.
ZAR_API unsigned sockAccept(unsigned fd, sockaddr *addr, int *len);
/// @return 0, or -1.
ZAR_API int sockClose(unsigned fd);
/// @return Whether the socket is now listening.
ZAR_API bool sockListen(unsigned fd, int backlog);
/// @return The number of bytes received; 0 when the peer has closed; -1 on failure, or if a non-blocking socket has
///         none.
ZAR_API int sockRecv(unsigned fd, void *buf, int size, int flags);
/// Receives one datagram. @param fromLen  In: the room at `from`. Out: the length of the sender's address.
ZAR_API int sockRecvFrom(unsigned fd, void *buf, int size, int flags, sockaddr *from, int *fromLen);
/// @return The number of bytes the system took, perhaps fewer than `size`; -1 on failure, or if a non-blocking socket
///         is full.
ZAR_API int sockSend(unsigned fd, const void *buf, int size, int flags);
/// Sends one datagram.
ZAR_API int sockSendTo(unsigned fd, const void *buf, int size, int flags, const sockaddr *to, int toLen);
/// Shuts down both directions of a connection; the handle stays open.
ZAR_API void sockShutdown(unsigned fd);
/// @return Whether the mode was set.
ZAR_API bool sockSetBlocking(unsigned fd, bool blocking);
/// @return The number of bytes ready to be received, or -1.
ZAR_API int sockPeekRecvLength(unsigned fd);

/// Connects a non-blocking socket.
/// @param addr       16 bytes of it are passed to the system, which rejects an IPv6 address for that: only IPv4
///                   connects.
/// @param timeoutMs  0 only starts connecting and checks once; -1 waits without limit.
/// @return Whether the connection is established; also true for a socket that was connected before, even if that
///         connection has died since. The last error does not report a refusal that arrived during the wait.
ZAR_API bool sockAsyncConnect(unsigned fd, const sockaddr *addr, int timeoutMs);

/// @return The first IPv4 address of the machine's own host name, or an empty one. Queries the system's resolver, which
///         may block.
ZAR_API chInAddr sockGetLocalIPAddress(const std::string &ignored);

/// @return The 6 bytes of the first network adapter that answers, except loopback; six zeros on a machine without one.
///         Owned by the library and valid until the process ends; they change when a later call finds another adapter.
ZAR_API const unsigned char *sockGetHardwareAddress(const std::string &ignored);

/// A set of at most 64 handles to wait for. A wait leaves only the ready ones in it, so refill it before each wait:
///
///     chFD_SET set(fd);
///     if (set.readSelect(500) > 0 && set.isSet(fd)) ...
///
/// A handle may have any value, including those above 1023 where a system's own set may end.
class ZAR_API chFD_SET {
public:
  /// Empty.
  chFD_SET();
  /// Holds `fd`, whatever its value, the invalid handle included.
  chFD_SET(int fd);

  void clear();

  /// Adds a handle unless present. The 65th is silently dropped, although getFdMax() counts it.
  void add(int fd);

  bool isSet(int fd) const;

  /// The system's set (zar_fd_set on Linux), to pass on or inspect.
  zar_fd_set &getFdSet();

  /// @return The highest handle ever added, as a signed number, plus 1; 0 if there is none.
  int getFdMax() const;

  /// Waits until a handle is readable, has been closed by its peer, or has failed.
  /// @param timeoutMs  0 only checks; -1 waits without limit. Other negative values are left to the system to reject.
  /// @return The number of ready handles; 0 on time-out; -1 when a handle is not open or the set is empty. Unless -1,
  ///         the set holds the ready ones and the thread's last error is 0.
  int readSelect(int timeoutMs);

  /// The same for writable.
  int writeSelect(int timeoutMs);

private:
  const zar_fd_set &set() const;

  alignas(unsigned) unsigned char m_room[4 + 4 * 64]; // a zar_fd_set of 64 handles, whatever the client's FD_SETSIZE
  int m_highest = -1;
};

/// Owns a socket.
///
///                   no handle                    a handle
///     CreateSocket  opens, or stays              REQUIRES: not called; the first handle would leak
///     DestroySocket nothing                      closes
///     the others    fail in the system           as described
///     destructor    nothing                      closes
class ZAR_API chSocket {
public:
  chSocket() = default;
  chSocket(const chSocket &) = delete;
  chSocket &operator=(const chSocket &) = delete;
  /// DestroySocket().
  ~chSocket();

  void DestroySocket();

  /// Opens a blocking socket with the system's socket(). @return Whether it succeeded.
  bool CreateSocket(int family, int type, int protocol);

  /// @return Whether the socket is now bound to that local address.
  bool Bind(const chSocketAddr &local);

  /// The handle, or the invalid one.
  const unsigned &fd() const { return m_fd; }
  unsigned GetSocketHandle() const { return m_fd; }
  bool isValidSocket() const { return m_fd != invalid; }

protected:
  static constexpr unsigned invalid = 0xFFFFFFFF;

  /// chFD_SET::readSelect() for this handle alone.
  int socketSelect(int timeoutMs) const;

  unsigned m_fd = invalid;
};
