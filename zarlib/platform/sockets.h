// The system's sockets. A handle is an unsigned 32-bit number; every call answers what the system's own answers, -1 or the invalid
// handle for a refusal, and leaves the reason as the last error.
//
// What holds on every system: no socket is inherited by a child process; a stream sends small packets at once, without waiting for
// acknowledgements; a broken connection is an error code and never a signal; a signal handler that runs meanwhile ends no call. A
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

/// Lets a port be bound again while connections of its last owner fade.
void reuse_address(unsigned socket);

/// Chooses the lengths of a connected stream's queues by how far the peer is; leaves them to the system where it knows best.
void fit_to_peer(unsigned socket, const sockaddr &peer);

/// Spares datagrams of a few bytes that do not leave the machine what guards them on longer ways.
void fit_to_short_datagrams(unsigned socket);

int set_blocking(unsigned socket, bool blocking);

/// @return How many bytes wait to be received.
int count_waiting_bytes(unsigned socket);

int receive(unsigned socket, void *buffer, int size, int flags);
int receive_from(unsigned socket, void *buffer, int size, int flags, sockaddr *from, int *from_length);
int send(unsigned socket, const void *data, int size, int flags);
int send_to(unsigned socket, const void *data, int size, int flags, const sockaddr *to, int to_length);

/// send() of two pieces, one behind the other.
int send_pieces(unsigned socket, const void *first, int first_size, const void *second, int second_size);

/// What receive_at_once() answers where nothing waits, or where the system cannot tell without waiting.
constexpr int would_wait = -2;

/// receive() that does not wait, also on a blocking socket.
int receive_at_once(unsigned socket, void *buffer, int size);

/// Whether the last error says that the call would have had to wait.
bool last_error_is_would_block();

enum class connecting { done, under_way, refused };

/// Starts to connect a non-blocking socket. One that is connected is done.
connecting start_connecting(unsigned socket, const sockaddr *address, int length);

/// Whether a connection that was under way stands, once the socket is writable. A refusal's code is not the last error.
bool is_connected(unsigned socket);

/// Waits until handles are ready; then `set` holds those, and the last error is 0. Readable counts the exceptional too.
/// @param milliseconds  -1 for no limit; other negative times, and an empty set, are the system's to refuse.
/// @return How many are ready; 0 after the time, with an empty set; -1 when a handle is not open, with the set as it was.
int wait_readable(zar_fd_set &set, int milliseconds);
int wait_writable(zar_fd_set &set, int milliseconds);

/// The first IPv4 address that the machine's own name has. @return Whether there is one.
bool find_host_address(in_addr &address);

/// The six bytes of the first network adapter that has a hardware address. @return Whether there is one.
bool find_hardware_address(unsigned char (&address)[6]);

/// The four numbers of an IPv4 address, as inet_addr() reads them; all ones where it refuses the text.
in_addr parse_ipv4(const char *text);
std::string format_ipv4(const in_addr &address);

/// @return The length of the system's whole address; -1, and `address` as it was, where the text is none.
int parse_ipv6(const char *text, in6_addr &address);

/// @return Whether the text and its end fitted into `size` characters.
bool format_ipv6(const in6_addr &address, char *text, int size);

} // namespace zar::platform
