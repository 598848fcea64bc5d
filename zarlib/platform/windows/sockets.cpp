#include "zarlib/platform/sockets.h"

#include <algorithm>
#include <cstdlib>
#include <nb30.h>
#include <ws2tcpip.h>

namespace zar::platform {

namespace {

static_assert(sizeof(SOCKET) == sizeof(unsigned) && FD_SETSIZE == 64);

/// Keeps Winsock started from library load to process exit.
const struct interface_start {
  interface_start() {
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    std::atexit([] { WSACleanup(); });
  }
} started;

void keep_from_children(SOCKET socket) {
  SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
}

int refuse_size() {
  WSASetLastError(WSAEFAULT);
  return -1;
}

void send_small_packets_at_once(SOCKET socket) {
  const int reason = WSAGetLastError();
  const BOOL on = TRUE;
  setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&on), sizeof on);
  WSASetLastError(reason);
}

int wait_for(zar_fd_set *read, zar_fd_set *write, zar_fd_set *exceptional, int milliseconds) {
  timeval limit = {milliseconds / 1000, milliseconds % 1000 * 1000};
  const int ready = select(0, read, write, exceptional, milliseconds == -1 ? nullptr : &limit);
  if (ready != SOCKET_ERROR) WSASetLastError(0);
  return ready;
}

char netbios(NCB &control, UCHAR command, UCHAR adapter, void *buffer, WORD size) {
  control = {};
  control.ncb_command = command;
  control.ncb_lana_num = adapter;
  if (command == NCBASTAT) control.ncb_callname[0] = '*'; // this machine; in a reset the byte is a number of sessions
  control.ncb_buffer = static_cast<PUCHAR>(buffer);
  control.ncb_length = size;
  return static_cast<char>(Netbios(&control));
}

} // namespace

unsigned open_socket(int family, int type, int protocol) {
  const SOCKET opened = ::socket(family, type, protocol);
  if (opened == INVALID_SOCKET) return invalid_socket;
  keep_from_children(opened);
  if (type == SOCK_STREAM) send_small_packets_at_once(opened);
  return opened;
}

unsigned accept_socket(unsigned listening, sockaddr *peer, int *length) {
  const SOCKET accepted = accept(listening, peer, length);
  if (accepted == INVALID_SOCKET) return invalid_socket;
  keep_from_children(accepted);
  send_small_packets_at_once(accepted);
  return accepted;
}

int close_socket(unsigned socket) { return closesocket(socket); }

int bind_socket(unsigned socket, const sockaddr *address, int length) { return bind(socket, address, length); }

int listen_socket(unsigned socket, int backlog) { return listen(socket, backlog); }

int shutdown_socket(unsigned socket) { return shutdown(socket, SD_BOTH); }

int get_local_address(unsigned socket, sockaddr *address, int *length) { return getsockname(socket, address, length); }

void reuse_address(unsigned socket) {
  const int on = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char *>(&on), sizeof on);
}

void fit_to_peer(unsigned, const sockaddr &) {}
void fit_to_short_datagrams(unsigned) {}

int set_blocking(unsigned socket, bool blocking) {
  u_long non_blocking = blocking ? 0 : 1;
  return ioctlsocket(socket, static_cast<long>(FIONBIO), &non_blocking);
}

int count_waiting_bytes(unsigned socket) {
  u_long count = 0;
  return ioctlsocket(socket, FIONREAD, &count) == SOCKET_ERROR ? -1 : static_cast<int>(count);
}

int receive(unsigned socket, void *buffer, int size, int flags) {
  if (size < 0) return refuse_size();
  return recv(socket, static_cast<char *>(buffer), size, flags);
}

int receive_from(unsigned socket, void *buffer, int size, int flags, sockaddr *from, int *from_length) {
  if (size < 0) return refuse_size();
  return recvfrom(socket, static_cast<char *>(buffer), size, flags, from, from_length);
}

int send(unsigned socket, const void *data, int size, int flags) {
  if (size < 0) return refuse_size();
  return ::send(socket, static_cast<const char *>(data), size, flags);
}

int send_to(unsigned socket, const void *data, int size, int flags, const sockaddr *to, int to_length) {
  if (size < 0) return refuse_size();
  return sendto(socket, static_cast<const char *>(data), size, flags, to, to_length);
}

int send_pieces(unsigned socket, const void *first, int first_size, const void *second, int second_size) {
  if (first_size < 0 || second_size < 0) return refuse_size();
  WSABUF pieces[] = {{static_cast<u_long>(first_size), static_cast<char *>(const_cast<void *>(first))},
                     {static_cast<u_long>(second_size), static_cast<char *>(const_cast<void *>(second))}};
  DWORD sent = 0;
  const int result = WSASend(socket, pieces, 2, &sent, 0, nullptr, nullptr);
  return result == SOCKET_ERROR ? -1 : static_cast<int>(sent);
}

// Only a non-blocking socket can be read without waiting, and the owner may have made it blocking.
int receive_at_once(unsigned, void *, int) { return would_wait; }

bool last_error_is_would_block() { return WSAGetLastError() == WSAEWOULDBLOCK; }

connecting start_connecting(unsigned socket, const sockaddr *address, int length) {
  if (connect(socket, address, length) != SOCKET_ERROR) return connecting::done;
  switch (WSAGetLastError()) {
  case WSAEISCONN:
    return connecting::done;
  case WSAEWOULDBLOCK:
  case WSAEALREADY:
    return connecting::under_way;
  default:
    return connecting::refused;
  }
}

bool is_connected(unsigned socket) {
  int error = -1;
  int length = sizeof error;
  const int result = getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char *>(&error), &length);
  return result != SOCKET_ERROR && error == 0;
}

int wait_readable(zar_fd_set &set, int milliseconds) { return wait_for(&set, nullptr, &set, milliseconds); }

int wait_writable(zar_fd_set &set, int milliseconds) { return wait_for(nullptr, &set, nullptr, milliseconds); }

bool find_host_address(in_addr &address) {
  char name[261] = {};
  if (gethostname(name, sizeof name - 1) != 0) return false;
  const hostent *found = gethostbyname(name);
  if (!found || !found->h_addr_list || found->h_addrtype != AF_INET || !found->h_addr_list[0]) return false;
  std::copy_n(found->h_addr_list[0], sizeof address, reinterpret_cast<char *>(&address));
  return true;
}

bool find_hardware_address(unsigned char (&address)[6]) {
  NCB control;
  LANA_ENUM adapters = {};
  unsigned char list[256] = {};
  netbios(control, NCBENUM, 0, list, sizeof list);
  std::copy_n(list, sizeof adapters, reinterpret_cast<unsigned char *>(&adapters));
  for (int i = 0; i < adapters.length && i <= MAX_LANA; ++i) {
    unsigned char status[60] = {};
    netbios(control, NCBRESET, adapters.lana[i], nullptr, 0);
    if (netbios(control, NCBASTAT, adapters.lana[i], status, sizeof status) != NRC_GOODRET) continue;
    std::copy_n(status, sizeof address, address);
    return true;
  }
  return false;
}

in_addr parse_ipv4(const char *text) {
  in_addr address;
  address.s_addr = inet_addr(text);
  return address;
}

std::string format_ipv4(const in_addr &address) { return inet_ntoa(address); }

int parse_ipv6(const char *text, in6_addr &address) {
  sockaddr_in6 whole = {};
  int length = sizeof whole;
  std::string own = text;
  if (WSAStringToAddressA(own.data(), AF_INET6, nullptr, reinterpret_cast<sockaddr *>(&whole), &length) != 0) return -1;
  address = whole.sin6_addr;
  return length;
}

bool format_ipv6(const in6_addr &address, char *text, int size) {
  sockaddr_in6 whole = {};
  whole.sin6_family = AF_INET6;
  whole.sin6_addr = address;
  auto length = static_cast<DWORD>(std::max(size, 0));
  return WSAAddressToStringA(reinterpret_cast<sockaddr *>(&whole), sizeof whole, nullptr, text, &length) == 0;
}

} // namespace zar::platform
