#include "zarlib/platform/sockets.h"

#include "zarlib/platform/last_error.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <netpacket/packet.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/uio.h>
#include <unistd.h>
#include <vector>

namespace zar::platform {

namespace {

int to_descriptor(unsigned socket) { return static_cast<int>(socket); }

/// Retries a call that a signal handler has interrupted.
template <typename Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

int refuse(int reason) {
  errno = reason;
  return -1;
}

/// The short form, but as on Windows: addresses that embed an IPv4 address after a prefix of their own (RFC 5214 and
/// RFC 2765) also end in its dotted form, and a mapped one that begins with 0.0 does not.
std::string text_of(in6_addr address) {
  const auto word = [&](size_t i) { return address.s6_addr[2 * i] << 8 | address.s6_addr[2 * i + 1]; };
  const bool is_unmarked = !word(0) && !word(1) && !word(2) && !word(3);
  const bool is_isatap = (word(4) & 0xFDFF) == 0 && word(5) == 0x5EFE;
  const bool is_translated = is_unmarked && word(4) == 0xFFFF && word(5) == 0 && word(6) != 0;
  const bool is_hardly_mapped = is_unmarked && word(4) == 0 && word(5) == 0xFFFF && word(6) == 0;
  in_addr last;
  std::copy_n(address.s6_addr + 12, sizeof last, reinterpret_cast<unsigned char *>(&last));

  if (is_hardly_mapped) address.s6_addr[9] = 1; // another prefix for now, after which nothing is dotted
  const bool is_dotted = is_isatap || is_translated;
  if (is_dotted) std::fill_n(address.s6_addr + 12, sizeof last, static_cast<unsigned char>(1));
  char text[INET6_ADDRSTRLEN];
  std::string whole = inet_ntop(AF_INET6, &address, text, sizeof text);
  if (is_hardly_mapped) whole.erase(2, 2); // "::1:ffff:0:1"
  if (is_dotted) whole.replace(whole.rfind("101:101"), 7, format_ipv4(last));
  return whole;
}

/// Calls `call` with a socklen_t in place of the int.
template <typename Call>
int with_length(int *length, Call call) {
  if (!length) return call(nullptr);
  auto own = static_cast<socklen_t>(*length);
  const int result = call(&own);
  *length = static_cast<int>(own);
  return result;
}

void send_small_packets_at_once(int descriptor) {
  const last_error_keeper keeper;
  const int on = 1;
  setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

/// Send queue for a peer on this machine. There is no distance to fill with data, and so little stays in the
/// processor's cache until it is read, which more than doubles the throughput of large messages.
constexpr int loopback_queue = 256 * 1024;

using clock = std::chrono::steady_clock;

/// poll(), restarted with the remaining time when a signal handler has interrupted it.
int poll_uninterrupted(pollfd *polled, unsigned count, int milliseconds) {
  const clock::time_point end =
      milliseconds > 0 ? clock::now() + std::chrono::milliseconds(milliseconds) : clock::time_point();
  int left = milliseconds;
  for (;;) {
    const int result = poll(polled, count, left);
    if (result != -1 || errno != EINTR) return result;
    if (milliseconds > 0)
      left =
          std::max<int>(0, static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(end - clock::now()).count()));
  }
}

/// An error or a closed end counts as ready in every direction: the next call reports it.
int wait_for(zar_fd_set &set, short events, int milliseconds) {
  constexpr unsigned most = std::size(decltype(set.fd_array){});
  if (set.fd_count == 0 || set.fd_count > most || milliseconds < -1) return refuse(EINVAL);
  pollfd polled[most];
  for (unsigned i = 0; i < set.fd_count; ++i) polled[i] = {to_descriptor(set.fd_array[i]), events, 0};
  // poll() ignores negative numbers, which are not descriptors.
  if (std::any_of(polled, polled + set.fd_count, [](const pollfd &p) { return p.fd < 0; })) return refuse(EBADF);

  if (poll_uninterrupted(polled, set.fd_count, milliseconds) == -1) return -1;
  if (std::any_of(polled, polled + set.fd_count, [](const pollfd &p) { return p.revents & POLLNVAL; }))
    return refuse(EBADF);
  unsigned ready = 0;
  for (unsigned i = 0; i < set.fd_count; ++i)
    if (polled[i].revents) set.fd_array[ready++] = set.fd_array[i];
  set.fd_count = ready;
  errno = 0;
  return static_cast<int>(ready);
}

} // namespace

unsigned open_socket(int family, int type, int protocol) {
  const int opened = ::socket(family, type | SOCK_CLOEXEC, protocol);
  if (opened >= 0 && type == SOCK_STREAM) send_small_packets_at_once(opened);
  return static_cast<unsigned>(opened);
}

unsigned accept_socket(unsigned listening, sockaddr *peer, int *length) {
  const int accepted = with_length(length, [&](socklen_t *own) {
    return uninterrupted([&] { return accept4(to_descriptor(listening), peer, own, SOCK_CLOEXEC); });
  });
  if (accepted >= 0) send_small_packets_at_once(accepted);
  return static_cast<unsigned>(accepted);
}

// Not retried after a signal: the descriptor is already closed, and its number may have been reused by then.
int close_socket(unsigned socket) { return close(to_descriptor(socket)); }

int bind_socket(unsigned socket, const sockaddr *address, int length) {
  return bind(to_descriptor(socket), address, static_cast<socklen_t>(length));
}

int listen_socket(unsigned socket, int backlog) { return listen(to_descriptor(socket), backlog); }

int shutdown_socket(unsigned socket) { return shutdown(to_descriptor(socket), SHUT_RDWR); }

int get_local_address(unsigned socket, sockaddr *address, int *length) {
  return with_length(length, [&](socklen_t *own) { return getsockname(to_descriptor(socket), address, own); });
}

void reuse_address(unsigned socket) {
  const int on = 1;
  setsockopt(to_descriptor(socket), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
}

void fit_to_peer(unsigned socket, const sockaddr &peer) {
  if (peer.sa_family != AF_INET) return;
  const unsigned host = ntohl(reinterpret_cast<const sockaddr_in &>(peer).sin_addr.s_addr);
  if (host >> 24 == IN_LOOPBACKNET)
    setsockopt(to_descriptor(socket), SOL_SOCKET, SO_SNDBUF, &loopback_queue, sizeof loopback_queue);
}

void fit_to_short_datagrams(unsigned socket) {
  // A datagram that may not be fragmented needs no identification for reassembly.
  const int without_checksum = 1, uncut = IP_PMTUDISC_DO;
  setsockopt(to_descriptor(socket), SOL_SOCKET, SO_NO_CHECK, &without_checksum, sizeof without_checksum);
  setsockopt(to_descriptor(socket), IPPROTO_IP, IP_MTU_DISCOVER, &uncut, sizeof uncut);
}

int set_blocking(unsigned socket, bool blocking) {
  int non_blocking = blocking ? 0 : 1;
  return ioctl(to_descriptor(socket), FIONBIO, &non_blocking);
}

int count_waiting_bytes(unsigned socket) {
  int count = 0;
  return ioctl(to_descriptor(socket), FIONREAD, &count) == -1 ? -1 : count;
}

int receive(unsigned socket, void *buffer, int size, int flags) {
  if (size < 0) return refuse(EINVAL);
  const auto room = static_cast<size_t>(size);
  return static_cast<int>(uninterrupted([&] { return recv(to_descriptor(socket), buffer, room, flags); }));
}

int receive_from(unsigned socket, void *buffer, int size, int flags, sockaddr *from, int *from_length) {
  if (size < 0) return refuse(EINVAL);
  const auto room = static_cast<size_t>(size);
  return with_length(from_length, [&](socklen_t *own) {
    return static_cast<int>(
        uninterrupted([&] { return recvfrom(to_descriptor(socket), buffer, room, flags, from, own); }));
  });
}

int send(unsigned socket, const void *data, int size, int flags) {
  return send_to(socket, data, size, flags, nullptr, 0);
}

int send_to(unsigned socket, const void *data, int size, int flags, const sockaddr *to, int to_length) {
  if (size < 0) return refuse(EINVAL);
  const auto count = static_cast<size_t>(size);
  return static_cast<int>(uninterrupted([&] {
    return sendto(to_descriptor(socket), data, count, flags | MSG_NOSIGNAL, to, static_cast<socklen_t>(to_length));
  }));
}

int send_pieces(unsigned socket, const void *first, int first_size, const void *second, int second_size) {
  if (first_size < 0 || second_size < 0) return refuse(EINVAL);
  // Copying short pieces costs less than a scatter-gather call.
  if (unsigned char joined[512];
      first_size + static_cast<long long>(second_size) <= static_cast<long long>(sizeof joined)) {
    std::memcpy(joined, first, static_cast<size_t>(first_size));
    std::memcpy(joined + first_size, second, static_cast<size_t>(second_size));
    return send(socket, joined, first_size + second_size, 0);
  }
  iovec pieces[] = {{const_cast<void *>(first), static_cast<size_t>(first_size)},
                    {const_cast<void *>(second), static_cast<size_t>(second_size)}};
  msghdr message = {};
  message.msg_iov = pieces;
  message.msg_iovlen = std::size(pieces);
  return static_cast<int>(uninterrupted([&] { return sendmsg(to_descriptor(socket), &message, MSG_NOSIGNAL); }));
}

int receive_at_once(unsigned socket, void *buffer, int size) {
  const int received = receive(socket, buffer, size, MSG_DONTWAIT);
  return received == -1 && last_error_is_would_block() ? would_wait : received;
}

bool last_error_is_would_block() { return errno == EAGAIN || errno == EWOULDBLOCK; }

connecting start_connecting(unsigned socket, const sockaddr *address, int length) {
  if (connect(to_descriptor(socket), address, static_cast<socklen_t>(length)) != -1 || errno == EISCONN)
    return connecting::done;
  // An interrupted connect() continues in the background.
  const bool goes_on = errno == EINPROGRESS || errno == EALREADY || errno == EINTR;
  return goes_on ? connecting::under_way : connecting::refused;
}

bool is_connected(unsigned socket) {
  int error = -1;
  socklen_t length = sizeof error;
  return getsockopt(to_descriptor(socket), SOL_SOCKET, SO_ERROR, &error, &length) != -1 && error == 0;
}

int wait_readable(zar_fd_set &set, int milliseconds) { return wait_for(set, POLLIN | POLLPRI, milliseconds); }

int wait_writable(zar_fd_set &set, int milliseconds) { return wait_for(set, POLLOUT, milliseconds); }

bool find_host_address(in_addr &address) {
  char name[261] = {};
  if (gethostname(name, sizeof name - 1) != 0) return false;
  hostent entry, *found = nullptr;
  std::vector<char> room(1024);
  int reason = 0;
  while (gethostbyname_r(name, &entry, room.data(), room.size(), &found, &reason) == ERANGE)
    room.resize(room.size() * 2);
  if (!found || found->h_addrtype != AF_INET || !found->h_addr_list || !found->h_addr_list[0]) return false;
  std::copy_n(found->h_addr_list[0], sizeof address, reinterpret_cast<char *>(&address));
  return true;
}

bool find_hardware_address(unsigned char (&address)[6]) {
  ifaddrs *list = nullptr;
  if (getifaddrs(&list) != 0) return false;
  const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, freeifaddrs);
  for (const ifaddrs *one = list; one; one = one->ifa_next) {
    if (!one->ifa_addr || one->ifa_addr->sa_family != AF_PACKET || one->ifa_flags & IFF_LOOPBACK) continue;
    const auto &link = reinterpret_cast<const sockaddr_ll &>(*one->ifa_addr);
    if (link.sll_halen != sizeof address) continue;
    std::copy_n(link.sll_addr, sizeof address, address);
    return true;
  }
  return false;
}

in_addr parse_ipv4(const char *text) { return {inet_addr(text)}; }

std::string format_ipv4(const in_addr &address) {
  char text[INET_ADDRSTRLEN];
  return inet_ntop(AF_INET, &address, text, sizeof text);
}

int parse_ipv6(const char *text, in6_addr &address) {
  return inet_pton(AF_INET6, text, &address) == 1 ? static_cast<int>(sizeof(sockaddr_in6)) : -1;
}

bool format_ipv6(const in6_addr &address, char *text, int size) {
  const std::string whole = text_of(address);
  if (size <= static_cast<int>(whole.size())) {
    errno = ENOSPC;
    return false;
  }
  std::copy_n(whole.c_str(), whole.size() + 1, text);
  return true;
}

} // namespace zar::platform
