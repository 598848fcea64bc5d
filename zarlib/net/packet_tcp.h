// Whole messages over a connected stream: chSocketPacketTCP.
//
//     chSocketPacketTCP connection; // connected by ConnectTo(), or by chSocketTCPServer::AcceptOnSocket()
//     connection.SendOnePacket("hello", 5);
//     std::vector<unsigned char> answer;
//     while (!connection.ReceiveOnePacket(answer, 5000))
//       if (!connection.isConnected()) return; // else the time was over: the rest may still come
//
// One packet on the wire, the next following directly:
//
//     offset  bytes   field
//     0       4       length: the count of payload bytes, most significant byte first
//     4       length  payload: any bytes
//
// The three bytes "ABC" travel as 00 00 00 03 41 42 43. A length above 4194304 (4 MiB) is invalid.
#pragma once

#include "zarlib/net/tcp.h"

#include <vector>

/// A chSocketTCP that sends and takes packets. It has no state of its own; all the operations of its base may be mixed in.
///
/// An object belongs to one thread at a time; two threads that send on it at once would mix their packets.
class ZAR_API chSocketPacketTCP : public chSocketTCP {
public:
  /// Sends a packet, header and payload in one call of the system. Waits without limit where the peer does not read.
  /// @param size  At least 1; there is no upper limit here, but the receiver takes no packet above 4194304.
  /// @return Whether all went to the system. false for a size below 1: no empty packet is sent. After any other false the peer may
  ///         have a part of the packet, so only a new connection is safe.
  bool SendOnePacket(const void *data, int size);

  /// Takes the next packet from the buffer, waiting for what is missing of it.
  ///
  /// No byte behind the packet is read from the socket. What came of a packet that is not whole stays in the buffer, and the next
  /// call takes it up. A packet that is buffered already, after selectAndReceive() say, does not touch the socket.
  /// Cost: the packet's own size, however many stand in the buffer, as long as buffer() has never been called; a large payload is
  /// handed over without a copy.
  /// @param out        The payload, perhaps empty. Untouched when false.
  /// @param timeoutMs  For the header, and once more for the payload. With less than 1 only what is buffered counts.
  /// @return false when the packet is not whole in time, or the connection was found dead: see isConnected(). false too for an
  ///         invalid length, which is reported as a warning, empties the buffer and ends the connection.
  bool ReceiveOnePacket(std::vector<unsigned char> &out, int timeoutMs);
};
