#include "zarlib/net/tcp.h"

#include "zarlib/net/receive_buffer.h"
#include "zarlib/platform/last_error.h"
#include "zarlib/platform/sockets.h"
#include "zarlib/text/environment.h"
#include "zarlib/time/ticks.h"
#include "zarlib/trace/trace.h"

#include <algorithm>
#include <optional>

namespace platform = zar::platform;

namespace {

constexpr int trace_level = 7;
constexpr int ipv4_length = sizeof(sockaddr_in);
constexpr int ipv6_length = sizeof(chSocketAddr);
constexpr int stream_read = 65535;

/// Larger reads are split, so that the buffer never grows far beyond what has actually arrived.
constexpr long long largest_read = 1024 * 1024;

/// Preserves the last error across the trace, for the caller.
void trace_failed_send() {
  if (zarTraceLevelTest::fails(trace_level)) return;
  const platform::last_error_keeper keeper;
  zarTrace(trace_level, "chSocketTCP::Send failed! nSendCount=0 errno:[%d][%s]", static_cast<int>(zarGetLastError()),
           zarTransLastError().c_str());
}

} // namespace

struct chSocketTCP::unsent {
  const char *at;
  int left;

  /// Advances by the part of `count` that belongs to this piece, and reduces `count` by it.
  void advance(int &count) {
    const int part = std::min(count, left);
    at += part;
    left -= part;
    count -= part;
  }
};

chSocketTCP::chSocketTCP() : m_Buffer(std::make_unique<zar::receive_buffer>()) {}

chSocketTCP::~chSocketTCP() { DestroySocket(); }

bool chSocketTCP::CreateSocket(int family) {
  return chSocket::CreateSocket(family, SOCK_STREAM, 0) && sockSetBlocking(m_fd, false);
}

bool chSocketTCP::CreateSocket(const chSocketAddr &local) {
  if (!local.isValidLocalAddr() || !CreateSocket(local.family())) return false;
  platform::reuse_address(m_fd);
  if (Bind(local)) return true;
  DestroySocket();
  return false;
}

bool chSocketTCP::CreateSocket(const std::string &host, int port) { return CreateSocket(chSocketAddr(host, port)); }

bool chSocketTCP::ConnectTo(const chSocketAddr &peer, int timeoutMs) {
  m_Buffer->clear();
  m_bConnected = sockAsyncConnect(m_fd, &peer.toSocketAddr(), timeoutMs);
  if (m_bConnected) platform::fit_to_peer(m_fd, peer.toSocketAddr());
  return m_bConnected;
}

bool chSocketTCP::ConnectTo(const std::string &host, int port, int timeoutMs) {
  chSocketAddr peer;
  return peer.CreateSocketAddr(host, port) && ConnectTo(peer, timeoutMs);
}

void chSocketTCP::Disconnect() {
  if (!m_bConnected) return;
  m_Buffer->clear();
  sockShutdown(m_fd);
  m_bConnected = false;
}

void chSocketTCP::DestroySocket() {
  Disconnect();
  chSocket::DestroySocket();
}

/// Preserves the last error, the reason, for the caller.
void chSocketTCP::lose_connection() {
  const platform::last_error_keeper keeper;
  m_bConnected = false;
  sockShutdown(m_fd);
}

bool chSocketTCP::Send(const void *data, int size) {
  return send_all({nullptr, 0}, {static_cast<const char *>(data), size});
}

bool chSocketTCP::send_pieces(const void *first, int firstSize, const void *second, int secondSize) {
  return send_all({static_cast<const char *>(first), firstSize}, {static_cast<const char *>(second), secondSize});
}

bool chSocketTCP::send_all(unsent first, unsent second) {
  if (!isValidSocket()) return false;
  while (m_bConnected && (first.left > 0 || second.left > 0)) {
    int sent = first.left > 0 ? platform::send_pieces(m_fd, first.at, first.left, second.at, second.left)
                              : sockSend(m_fd, second.at, second.left, 0);
    if (sent <= 0) trace_failed_send();
    if (sent != -1) {
      first.advance(sent);
      second.advance(sent);
      continue;
    }
    if (platform::last_error_is_would_block() && chFD_SET(static_cast<int>(m_fd)).writeSelect(-1) == -1) return false;
    // A successful wait has left 0 here, and the rest is sent.
    if (zarGetLastError() != 0) m_bConnected = false;
  }
  const int left = first.left != 0 ? first.left : second.left;
  if (left != 0 || !m_bConnected)
    zarTrace(trace_level, "chSocketTCP::Send failed! nBytes:[%d] m_bConnected:[%d]", left, m_bConnected);
  return left == 0;
}

/// Reads up to `size` bytes into the buffer without waiting. @return As receive_within().
int chSocketTCP::receive_now(int size) {
  const int count = platform::receive_at_once(m_fd, m_Buffer->room(static_cast<size_t>(size)), size);
  return count == platform::would_wait ? 0 : keep(count);
}

/// Waits for bytes, then reads them. @return As receive_within().
int chSocketTCP::receive_later(int size, int timeoutMs) {
  const int ready = socketSelect(timeoutMs);
  if (ready <= 0) return ready == 0 ? 0 : keep(-1);
  return keep(sockRecv(m_fd, m_Buffer->room(static_cast<size_t>(size)), size, 0));
}

/// Records the result of a read into the buffer's room: a number of bytes, or the end of the connection.
int chSocketTCP::keep(int count) {
  if (count > 0) {
    m_Buffer->added(static_cast<size_t>(count));
    return count;
  }
  lose_connection();
  return -1;
}

/// Receives up to `size` bytes into the buffer. @return Their number; 0 on time-out; otherwise -1, and the connection
/// is lost.
int chSocketTCP::receive_within(int size, int timeoutMs) {
  const int count = size > 0 ? receive_now(size) : 0;
  return count != 0 ? count : receive_later(size, timeoutMs);
}

int chSocketTCP::selectAndReceive(int maxBytes, int timeoutMs) {
  return maxBytes < 0 ? 0 : receive_within(maxBytes, timeoutMs);
}

int chSocketTCP::ReceiveToBuffer(int timeoutMs) {
  if (m_bConnected && m_Buffer->empty()) selectAndReceive(stream_read, timeoutMs);
  if (!m_Buffer->empty()) return static_cast<int>(std::min<size_t>(m_Buffer->size(), 0x7FFFFFFF));
  return m_bConnected ? 0 : -1;
}

int chSocketTCP::ReceiveStream(std::vector<unsigned char> &out, int timeoutMs) {
  const int count = ReceiveToBuffer(timeoutMs);
  if (count > 0) m_Buffer->take(0, static_cast<size_t>(count), out);
  return count;
}

int chSocketTCP::Receive(void *out, int size, int timeoutMs) {
  waitForBufferBytes(size, timeoutMs);
  if (m_Buffer->empty() && !m_bConnected) return -1;
  const size_t count = std::min(static_cast<size_t>(std::max(size, 0)), m_Buffer->size());
  m_Buffer->copy(0, count, static_cast<unsigned char *>(out));
  m_Buffer->drop(count);
  return static_cast<int>(count);
}

bool chSocketTCP::waitForBufferBytes(int count, int timeoutMs) {
  long long missing = static_cast<long long>(count) - static_cast<long long>(m_Buffer->size());
  if (missing < 1) return true;
  if (!m_bConnected || timeoutMs < 1) return false;
  std::optional<chTimeout> deadline; // no clock is read if the bytes are there
  for (int left = timeoutMs; left > 0; left = deadline->GetLeftMillisecond()) {
    const int size = static_cast<int>(std::min(missing, largest_read));
    int received = receive_now(size);
    if (received == missing) return true;
    if (!deadline) deadline.emplace(timeoutMs);
    if (received == 0) received = receive_later(size, left);
    if (received < 1) return false;
    missing -= received;
    if (missing == 0) return true;
  }
  return false;
}

bool chSocketTCP::peek(void *out, int offset, int size, int timeoutMs) {
  const long long end = static_cast<long long>(offset) + size;
  if (end > 0x7FFFFFFF || !waitForBufferBytes(static_cast<int>(std::max(end, 0LL)), timeoutMs)) return false;
  if (!out) return true;
  if (offset < 0 || size < 0) return false;
  m_Buffer->copy(static_cast<size_t>(offset), static_cast<size_t>(size), static_cast<unsigned char *>(out));
  return true;
}

bool chSocketTCP::peek(std::vector<unsigned char> &out, int offset, int size, int timeoutMs) {
  if (offset < 0 || size < 0 || !peek(nullptr, offset, size, timeoutMs)) return false;
  out.resize(static_cast<size_t>(size));
  return peek(out.data(), offset, size, 0);
}

void chSocketTCP::seek(int count) {
  if (count > 0) m_Buffer->drop(std::min(static_cast<size_t>(count), m_Buffer->size()));
}

void chSocketTCP::seekToEnd() { m_Buffer->clear(); }

bool chSocketTCP::TestConnectivity() {
  if (m_bConnected) selectAndReceive(1, 1);
  return m_bConnected;
}

const std::vector<unsigned char> &chSocketTCP::buffer() const { return m_Buffer->whole(); }

void chSocketTCP::take(int skipped, int count, std::vector<unsigned char> &out) {
  m_Buffer->take(static_cast<size_t>(skipped), static_cast<size_t>(count), out);
}

bool chSocketTCPServer::SocketListen(int backlog) { return sockListen(m_fd, backlog); }

bool chSocketTCPServer::AcceptOnSocket(chSocketTCP &client, chSocketAddr *peer, int timeoutMs) {
  if (socketSelect(timeoutMs) <= 0) return false;
  int length = peer->family() == AF_INET6 ? ipv6_length : ipv4_length;
  client.m_fd = sockAccept(m_fd, const_cast<sockaddr *>(&peer->toSocketAddr()), &length);
  if (!client.isValidSocket() || !sockSetBlocking(client.m_fd, false)) return false;
  platform::fit_to_peer(client.m_fd, peer->toSocketAddr());
  client.m_bConnected = true;
  return true;
}

chInAddr sockGetLocalIPAddress(const std::string &host, int port) {
  chSocketTCP probe;
  probe.CreateSocket(AF_INET);
  chSocketAddr local;
  int length = ipv4_length;
  if (!probe.ConnectTo(host, port, 1000)) return {};
  platform::get_local_address(probe.fd(), const_cast<sockaddr *>(&local.toSocketAddr()), &length);
  return local.toInAddr();
}
