#include "zarlib/net/socket.h"

#include "zarlib/platform/sockets.h"
#include "zarlib/platform/static_lock.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <mutex>
#include <new>

namespace platform = zar::platform;

namespace {

constexpr unsigned most_handles = 64;
constexpr int ipv4_length = sizeof(sockaddr_in);

static_assert(sizeof(zar_fd_set) == 4 + 4 * most_handles && alignof(zar_fd_set) == alignof(unsigned));

} // namespace

unsigned sockAccept(unsigned fd, sockaddr *addr, int *len) { return platform::accept_socket(fd, addr, len); }

int sockClose(unsigned fd) { return platform::close_socket(fd); }

bool sockListen(unsigned fd, int backlog) { return platform::listen_socket(fd, backlog) != -1; }

int sockRecv(unsigned fd, void *buf, int size, int flags) { return platform::receive(fd, buf, size, flags); }

int sockRecvFrom(unsigned fd, void *buf, int size, int flags, sockaddr *from, int *fromLen) {
  return platform::receive_from(fd, buf, size, flags, from, fromLen);
}

int sockSend(unsigned fd, const void *buf, int size, int flags) { return platform::send(fd, buf, size, flags); }

int sockSendTo(unsigned fd, const void *buf, int size, int flags, const sockaddr *to, int toLen) {
  return platform::send_to(fd, buf, size, flags, to, toLen);
}

void sockShutdown(unsigned fd) { platform::shutdown_socket(fd); }

bool sockSetBlocking(unsigned fd, bool blocking) { return platform::set_blocking(fd, blocking) != -1; }

int sockPeekRecvLength(unsigned fd) { return platform::count_waiting_bytes(fd); }

bool sockAsyncConnect(unsigned fd, const sockaddr *addr, int timeoutMs) {
  // Settled, callers rely on it: the length is that of IPv4, whatever the address.
  switch (platform::start_connecting(fd, addr, ipv4_length)) {
  case platform::connecting::done:
    return true;
  case platform::connecting::refused:
    return false;
  case platform::connecting::under_way:
    break;
  }
  return chFD_SET(static_cast<int>(fd)).writeSelect(timeoutMs) > 0 && platform::is_connected(fd);
}

chInAddr sockGetLocalIPAddress(const std::string &) {
  in_addr address;
  return platform::find_host_address(address) ? chInAddr(address) : chInAddr();
}

const unsigned char *sockGetHardwareAddress(const std::string &) {
  static unsigned char known[6];
  static platform::static_lock lock;
  unsigned char found[6];
  if (!platform::find_hardware_address(found)) return known;
  const std::lock_guard guard(lock);
  // Callers hold the pointer and read without a lock: identical bytes are not written again.
  if (std::memcmp(known, found, sizeof known) != 0) std::copy(std::begin(found), std::end(found), known);
  return known;
}

chFD_SET::chFD_SET() {
  new (m_room) zar_fd_set;
  clear();
}

chFD_SET::chFD_SET(int fd) : chFD_SET() { add(fd); }

void chFD_SET::clear() {
  getFdSet().fd_count = 0;
  m_highest = -1;
}

void chFD_SET::add(int fd) {
  zar_fd_set &set = getFdSet();
  if (!isSet(fd) && set.fd_count < most_handles) set.fd_array[set.fd_count++] = static_cast<unsigned>(fd);
  m_highest = std::max(m_highest, fd);
}

bool chFD_SET::isSet(int fd) const {
  const auto &handles = set().fd_array;
  const auto end = handles + std::min(set().fd_count, most_handles);
  return std::find(handles, end, static_cast<unsigned>(fd)) != end;
}

zar_fd_set &chFD_SET::getFdSet() { return reinterpret_cast<zar_fd_set &>(m_room); }

const zar_fd_set &chFD_SET::set() const { return reinterpret_cast<const zar_fd_set &>(m_room); }

int chFD_SET::getFdMax() const { return static_cast<int>(static_cast<unsigned>(m_highest) + 1); }

int chFD_SET::readSelect(int timeoutMs) { return platform::wait_readable(getFdSet(), timeoutMs); }

int chFD_SET::writeSelect(int timeoutMs) { return platform::wait_writable(getFdSet(), timeoutMs); }

chSocket::~chSocket() { DestroySocket(); }

void chSocket::DestroySocket() {
  if (!isValidSocket()) return;
  sockClose(m_fd);
  m_fd = invalid;
}

bool chSocket::CreateSocket(int family, int type, int protocol) {
  m_fd = platform::open_socket(family, type, protocol);
  return isValidSocket();
}

bool chSocket::Bind(const chSocketAddr &local) {
  const int length = local.family() == AF_INET ? ipv4_length : static_cast<int>(sizeof local);
  return platform::bind_socket(m_fd, &local.toSocketAddr(), length) != -1;
}

int chSocket::socketSelect(int timeoutMs) const { return chFD_SET(static_cast<int>(m_fd)).readSelect(timeoutMs); }
