// The system's sockets. A handle is an unsigned 32-bit number; every call returns what the system's own does, -1 or the
// invalid handle on failure, with the reason in the last error.
//
// On every system: sockets are not inherited by child processes; streams send small packets at once, without waiting
// for acknowledgements; a broken connection is an error code, never a signal; signal handlers do not interrupt calls; a
// negative size is refused.
#pragma once

#include "zarlib/platform/types.h"

#include <string>

namespace zar::platform {

constexpr unsigned invalid_socket = 0xFFFFFFFF;

unsigned open_socket(int family, int type, int protocol);
unsigned accept_socket(unsigned listening, sockaddr *peer, int *length);
int close_socket(unsigned socket);

int bind_socket(unsigned socket, const sockaddr *address, int length);
int listen_socket(unsigned socket, int backlog);
int shutdown_socket(unsigned socket); // both directions
int get_local_address(unsigned socket, sockaddr *address, int *length);

/// Lets a port be bound again while connections of its last owner are still closing.
void reuse_address(unsigned socket);

/// Sizes the send queue of a connected stream by the peer's distance; leaves it alone where the system knows best.
void fit_to_peer(unsigned socket, const sockaddr &peer);

/// Omits the safeguards that datagrams of a few bytes do not need while they stay on this machine.
void fit_to_short_datagrams(unsigned socket);

int set_blocking(unsigned socket, bool blocking);

/// @return The number of bytes waiting to be received.
int count_waiting_bytes(unsigned socket);

int receive(unsigned socket, void *buffer, int size, int flags);
int receive_from(unsigned socket, void *buffer, int size, int flags, sockaddr *from, int *from_length);
int send(unsigned socket, const void *data, int size, int flags);
int send_to(unsigned socket, const void *data, int size, int flags, const sockaddr *to, int to_length);

/// send() of two pieces, one after the other.
int send_pieces(unsigned socket, const void *first, int first_size, const void *second, int second_size);

/// Returned by receive_at_once() when nothing is waiting, or when the system cannot tell without waiting.
constexpr int would_wait = -2;

/// A receive() that never waits, even on a blocking socket.
int receive_at_once(unsigned socket, void *buffer, int size);

/// Whether the last error says that the call would have blocked.
bool last_error_is_would_block();

enum class connecting { done, under_way, refused };

/// Starts connecting a non-blocking socket. One already connected is done.
connecting start_connecting(unsigned socket, const sockaddr *address, int length);

/// Whether a connection that was under way has been established, once the socket is writable. On failure the reason
/// is not the last error.
bool is_connected(unsigned socket);

/// Wait until handles are ready; `set` then holds those, and the last error is 0. Readable includes
/// exceptional conditions.
/// @param milliseconds  -1 for no limit; other negative values, and an empty set, are left to the system to refuse.
/// @return The number ready; 0 on time-out, with an empty set; -1 when a handle is not open, with the set unchanged.
int wait_readable(zar_fd_set &set, int milliseconds);
int wait_writable(zar_fd_set &set, int milliseconds);

/// The first IPv4 address of the machine's own host name. @return Whether there is one.
bool find_host_address(in_addr &address);

/// The six bytes of the first network adapter that has a hardware address. @return Whether there is one.
bool find_hardware_address(unsigned char (&address)[6]);

/// Parses an IPv4 address like inet_addr(); all ones where it refuses the text.
in_addr parse_ipv4(const char *text);
std::string format_ipv4(const in_addr &address);

/// @return The size of the system's full socket address; -1, with `address` unchanged, when the text is no address.
int parse_ipv6(const char *text, in6_addr &address);

/// @return Whether the text and its NUL fit into `size` characters.
bool format_ipv6(const in6_addr &address, char *text, int size);

} // namespace zar::platform
