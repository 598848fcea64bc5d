// Packets from a stream that arrives in pieces. Each piece is one byte that gives its length and how it is read, then
// its bytes.
#include "zarlib/net/packet_tcp.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

using bytes = std::vector<unsigned char>;

static void require(bool holds) {
  if (!holds) std::abort();
}

static constexpr size_t largest_payload = 4194304;

/// The first packet of `stream`, which must be received. @return Whether it is complete, or its length invalid.
static bool next_packet(const bytes &stream, size_t &length) {
  if (stream.size() < 4) return false;
  length = size_t{stream[0]} << 24 | size_t{stream[1]} << 16 | size_t{stream[2]} << 8 | stream[3];
  return length > largest_payload || stream.size() >= 4 + length;
}

/// Takes all complete packets. @return False after an invalid length.
static bool take_packets(chSocketPacketTCP &socket, bytes &stream, bool reads_ahead) {
  if (reads_ahead) socket.selectAndReceive(65535, 0);
  bytes out;
  for (size_t length; next_packet(stream, length);) {
    const bool is_taken = socket.ReceiveOnePacket(out, 20000);
    require(is_taken == (length <= largest_payload) && socket.isConnected() == is_taken);
    if (!is_taken) return false;
    require(out.size() == length && std::equal(out.begin(), out.end(), stream.begin() + 4));
    stream.erase(stream.begin(), stream.begin() + static_cast<ptrdiff_t>(4 + length));
  }
  require(!socket.ReceiveOnePacket(out, 0) && socket.isConnected());
  return true;
}

/// A server on a port chosen by the system.
static chSocketTCPServer &server(chSocketAddr &address) {
  static chSocketTCPServer listening;
  static const bool is_open =
      listening.CreateSocket(AF_INET) && listening.Bind(chSocketAddr("127.0.0.1", 0)) && listening.SocketListen(5);
  socklen_t length = sizeof address;
  require(is_open &&
          getsockname(static_cast<int>(listening.fd()), const_cast<sockaddr *>(&address.toSocketAddr()), &length) == 0);
  return listening;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  chSocketAddr address;
  chSocketTCPServer &listening = server(address);
  chSocketPacketTCP sender, receiver;
  require(sender.CreateSocket(AF_INET) && sender.ConnectTo(address, 20000));
  require(listening.AcceptOnSocket(receiver, &address, 20000));

  bytes stream; // sent, but not yet received as a packet
  bool goes_on = true;
  for (size_t i = 0; i < size && goes_on;) {
    const uint8_t control = data[i++];
    const size_t count = std::min<size_t>(control & 0x7F, size - i);
    sender.Send(data + i, static_cast<int>(count));
    stream.insert(stream.end(), data + i, data + i + count);
    i += count;
    goes_on = take_packets(receiver, stream, (control & 0x80) != 0);
  }
  sender.DestroySocket();
  bytes out;
  require(!receiver.ReceiveOnePacket(out, 20000) && !receiver.isConnected());
  return 0;
}
