// The library's door to the system's sockets: the sock... calls, chSocket, which owns a handle, and chFD_SET, which waits.
//
// A handle is an unsigned 32-bit number; 0xFFFFFFFF is the invalid one. Times are milliseconds. Nothing here traces or throws: a refusal
// is -1, the invalid handle, false or an empty address, and zarGetLastError() then has the system's code (a Winsock code on Windows, an
// errno code on Linux). No socket made here is inherited by child processes, streams send small packets at once, a broken connection is
// an error and never a signal, and a signal handler that runs meanwhile ends no call. A negative size is refused with -1.
//
// Any thread may call the functions; a chSocket and a chFD_SET belong to one thread at a time.
#pragma once

#include "zarlib/export.h"
#include "zarlib/net/addresses.h"

#include <string>

/// Takes the next connection of a listening socket; waits for it where the socket is a blocking one.
/// @param len  In: the room at `addr`. Out: the length of the peer's address. Both pointers may be null.
/// @return The new socket, or the invalid handle.
ZAR_API unsigned sockAccept(unsigned fd, sockaddr *addr, int *len);
/// @return 0, or -1.
ZAR_API int sockClose(unsigned fd);
/// @return Whether the socket now takes connections.
ZAR_API bool sockListen(unsigned fd, int backlog);
/// @return The count of bytes received; 0 when the peer has closed; -1, also where nothing waits on a non-blocking socket.
ZAR_API int sockRecv(unsigned fd, void *buf, int size, int flags);
/// Receives one datagram. @param fromLen  In: the room at `from`. Out: the length of the sender's address.
ZAR_API int sockRecvFrom(unsigned fd, void *buf, int size, int flags, sockaddr *from, int *fromLen);
/// @return The count of bytes that the system took, perhaps fewer than `size`; -1, also where it has no room on a non-blocking socket.
ZAR_API int sockSend(unsigned fd, const void *buf, int size, int flags);
/// Sends one datagram.
ZAR_API int sockSendTo(unsigned fd, const void *buf, int size, int flags, const sockaddr *to, int toLen);
/// Ends both directions of a connection; the handle stays open.
ZAR_API void sockShutdown(unsigned fd);
/// @return Whether the socket was switched.
ZAR_API bool sockSetBlocking(unsigned fd, bool blocking);
/// @return The count of bytes that wait to be received, or -1.
ZAR_API int sockPeekRecvLength(unsigned fd);

/// Connects a non-blocking socket.
/// @param addr       16 bytes of it are handed to the system. It refuses an IPv6 address for that: only IPv4 connects.
/// @param timeoutMs  0 only starts and looks; -1 waits without limit.
/// @return Whether the connection stands; true for a socket that was connected before, also where that connection has died. The last
///         error does not tell a refusal that came during the wait.
ZAR_API bool sockAsyncConnect(unsigned fd, const sockaddr *addr, int timeoutMs);

/// @return The first IPv4 address of the machine's own name, or an empty one. Asks the system's resolver and may wait for it.
ZAR_API chInAddr sockGetLocalIPAddress(const std::string &ignored);

/// @return The 6 bytes of the first network adapter that answers, loopback left out; six zeros on a machine without one. The bytes
///         belong to the library and are valid until the process ends; they change when a later call finds another adapter.
ZAR_API const unsigned char *sockGetHardwareAddress(const std::string &ignored);

/// A set of at most 64 handles to wait for. A wait leaves only those in it that are ready, so it is filled anew for each:
///
///     chFD_SET set(fd);
///     if (set.readSelect(500) > 0 && set.isSet(fd)) ...
///
/// A handle may have any number, also above the 1023 that a system's own set may end at.
class ZAR_API chFD_SET {
public:
  /// Empty.
  chFD_SET();
  /// Holds `fd`, whatever it is, the invalid handle included.
  chFD_SET(int fd);

  void clear();

  /// Adds a handle once. The 65th is dropped without notice, though getFdMax() counts it.
  void add(int fd);

  bool isSet(int fd) const;

  /// The system's set (zar_fd_set on Linux), to be handed on or looked into.
  zar_fd_set &getFdSet();

  /// @return The highest handle ever added, as a signed number, plus 1; 0 when there is none.
  int getFdMax() const;

  /// Waits until a handle can be read from, has been closed by its peer, or has failed.
  /// @param timeoutMs  0 only looks; -1 waits without limit. Other negative times are the system's to refuse.
  /// @return How many handles are ready; 0 after the time; -1 when a handle is not open or the set is empty. Unless -1, the set holds
  ///         the ready ones, and the thread's last error is 0.
  int readSelect(int timeoutMs);

  /// The same for writing.
  int writeSelect(int timeoutMs);

private:
  const zar_fd_set &set() const;

  alignas(
      unsigned) unsigned char m_room[4 + 4 * 64]; // a zar_fd_set of 64 handles, whatever FD_SETSIZE a client has chosen
  int m_highest = -1;
};

/// Owns a socket.
///
///                  no handle                    a handle
///     CreateSocket opens, or stays              REQUIRES: not called; the first handle would be lost
///     DestroySocket nothing                     closes
///     the others   refused by the system        as told
///     destructor   nothing                      closes
class ZAR_API chSocket {
public:
  chSocket() = default;
  chSocket(const chSocket &) = delete;
  chSocket &operator=(const chSocket &) = delete;
  /// DestroySocket().
  ~chSocket();

  void DestroySocket();

  /// Opens a socket as the system's socket() does, a blocking one. @return Whether it did.
  bool CreateSocket(int family, int type, int protocol);

  /// @return Whether the socket now has that local address.
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
