#include "zarlib/net/socket_event.h"

#include "zarlib/frame/process_identity.h"
#include "zarlib/net/socket.h"
#include "zarlib/platform/sockets.h"
#include "zarlib/trace/trace.h"

#include <cstring>

namespace platform = zar::platform;

namespace {

constexpr int address_length = sizeof(sockaddr_in);
constexpr int pause_after_failure = 100;
constexpr size_t room_for_datagram = 64;

chSocketAddr loopback_address(int port) {
  constexpr unsigned char bytes[] = {127, 0, 0, 1};
  in_addr host;
  std::memcpy(&host, bytes, sizeof host);
  return {chInAddr(host), port};
}

sockaddr *system_address(chSocketAddr &address) { return const_cast<sockaddr *>(&address.toSocketAddr()); }

bool is_readable(unsigned socket, int timeoutMs) {
  return chFD_SET(static_cast<int>(socket)).readSelect(timeoutMs) == 1;
}

/// @return Whether a signal was taken. A failed receive ends with a pause, which throttles a loop around it.
bool take_signal(int received) {
  if (received <= 0) zarDelay(pause_after_failure);
  return received > 0;
}

bool receive_signal(unsigned socket) {
  char bytes[room_for_datagram];
  chSocketAddr sender;
  int length = address_length;
  return take_signal(sockRecvFrom(socket, bytes, sizeof bytes, 0, system_address(sender), &length));
}

} // namespace

chEvent_Socket::~chEvent_Socket() { CloseEvent(); }

chEvent_Socket::endpoint chEvent_Socket::open_endpoint() {
  const unsigned socket = platform::open_socket(AF_INET, SOCK_DGRAM, 0);
  if (socket == platform::invalid_socket) return closed();
  platform::fit_to_short_datagrams(socket);
  chSocketAddr address = loopback_address(0);
  int length = address_length;
  platform::bind_socket(socket, system_address(address), length);
  platform::get_local_address(socket, system_address(address), &length);
  return {socket, address.port()};
}

int chEvent_Socket::OpenEventA() {
  if (GetEventSocket() == platform::invalid_socket) m_own = open_endpoint();
  return GetEventSocket() != platform::invalid_socket;
}

void chEvent_Socket::CloseEvent() {
  const endpoint own = m_own.exchange(closed());
  if (own.socket != platform::invalid_socket) sockClose(own.socket);
}

/// Threads that signal meanwhile find the event open; if several repair it at once, one succeeds.
void chEvent_Socket::ResetSocket(endpoint broken) {
  const endpoint fresh = open_endpoint();
  const unsigned replaced = m_own.compare_exchange_strong(broken, fresh) ? broken.socket : fresh.socket;
  // If the old socket was closed behind our back, the fresh one may have been given the same number.
  if (replaced != platform::invalid_socket && replaced != GetEventSocket()) sockClose(replaced);
}

int chEvent_Socket::SendEvent(int port) {
  endpoint own = m_own;
  if (own.socket == platform::invalid_socket || port < 1) return 0;
  // Settled, callers rely on it: the target stays the same, even if a repair gives this event another port.
  const chSocketAddr target = loopback_address(port);
  for (int attempt = 0; attempt < 3; ++attempt, own = m_own) {
    if (sockSendTo(own.socket, "x", 1, 0, &target.toSocketAddr(), address_length) == 1) return 1;
    ResetSocket(own);
  }
  return 0;
}

int chEvent_Socket::SetEvent() {
  const int sent = SendEvent(GetEventPort());
  if (!sent) zarTrace(7, "chEvent_Socket::SetEvent failed!");
  return sent;
}

int chEvent_Socket::WaitEvent(int timeoutMs) {
  const unsigned socket = GetEventSocket();
  if (socket == platform::invalid_socket) return 0;
  // A signal that is already pending needs no wait.
  char bytes[room_for_datagram];
  const int received = timeoutMs >= -1 ? platform::receive_at_once(socket, bytes, sizeof bytes) : platform::would_wait;
  if (received >= 0) return take_signal(received);
  return is_readable(socket, timeoutMs) && receive_signal(socket);
}

void chEvent_Socket::ResetEvent() {
  while (is_readable(GetEventSocket(), 0) && receive_signal(GetEventSocket())) {
  }
}
