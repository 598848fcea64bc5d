// Whole messages over a connected stream: chSocketPacketTCP.
//
//     chSocketPacketTCP connection; // connected by ConnectTo(), or by chSocketTCPServer::AcceptOnSocket()
//     connection.SendOnePacket("hello", 5);
//     std::vector<unsigned char> answer;
//     while (!connection.ReceiveOnePacket(answer, 5000))
//       if (!connection.isConnected()) return; // else it timed out: the rest may still come
//
// Packets follow each other directly on the wire:
//
//     offset  bytes   field
//     0       4       length: number of payload bytes, most significant byte first
//     4       length  payload: any bytes
//
// The three bytes "ABC" are sent as 00 00 00 03 41 42 43. A length above 4194304 (4 MiB) is invalid.
#pragma once

#include "zarlib/net/tcp.h"

#include <vector>

/// A chSocketTCP that sends and receives packets. It adds no state of its own; all operations of the base class may be
/// mixed in.
///
/// An object belongs to one thread at a time; two threads sending on it at once would interleave their packets.
class ZAR_API chSocketPacketTCP : public chSocketTCP {
public:
  /// Sends a packet, header and payload in one system call. Waits without limit while the peer does not read.
  /// @param size  At least 1; there is no upper limit here, but the receiver accepts no packet above 4194304.
  /// @return Whether everything was handed to the system. false for a size below 1: no empty packets are sent. After
  ///         any other false the peer may have received part of the packet, so only a new connection is safe.
  bool SendOnePacket(const void *data, int size);

  /// Takes the next packet from the buffer, waiting for whatever part of it is missing.
  ///
  /// Nothing beyond the packet is read from the socket. An incomplete packet stays in the buffer, and the next call
  /// continues it. A packet that is already buffered, by selectAndReceive() for example, does not touch the socket.
  /// Cost: proportional to the packet, however many are buffered, as long as buffer() has never been called; a large
  /// payload is handed over without a copy.
  /// @param out        The payload, possibly empty. Unchanged when false.
  /// @param timeoutMs  For the header, and again for the payload. Below 1 only buffered bytes are considered.
  /// @return false when the packet is not complete in time or the connection was found dead: see isConnected(). Also
  ///         false for an invalid length, which is reported as a warning, empties the buffer and disconnects.
  bool ReceiveOnePacket(std::vector<unsigned char> &out, int timeoutMs);
};
