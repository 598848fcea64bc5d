#include "zarlib/net/packet_tcp.h"

#include "zarlib/text/codecs.h"
#include "zarlib/trace/console.h"

namespace {

constexpr int header_size = sizeof(unsigned);
constexpr unsigned largest_payload = 4194304;

/// Converts between the header's byte order and the host's, in either direction; both targets are little-endian.
unsigned swapped(unsigned length) {
  zarSwapBytes(&length, header_size);
  return length;
}

} // namespace

bool chSocketPacketTCP::SendOnePacket(const void *data, int size) {
  if (size < 1) return false;
  const unsigned header = swapped(static_cast<unsigned>(size));
  return send_pieces(&header, header_size, data, size);
}

bool chSocketPacketTCP::ReceiveOnePacket(std::vector<unsigned char> &out, int timeoutMs) {
  unsigned header;
  if (!peek(&header, 0, header_size, timeoutMs)) return false;
  const unsigned length = swapped(header);
  if (length > largest_payload) {
    zarOutputWarningString("Disconnect for received invalid packet bytes of %d,  it.", static_cast<int>(length));
    Disconnect();
    return false;
  }
  const int size = static_cast<int>(length);
  // Settled, callers rely on it: the payload gets the full time-out again, not what the header left of it.
  if (!waitForBufferBytes(header_size + size, timeoutMs)) return false;
  take(header_size, size, out);
  return true;
}
