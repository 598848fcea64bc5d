// Whole Ethernet frames, sent and received past the system's protocols.
//
// A packet-capture driver does the work: on Windows Packet.dll, on Linux libpcap. Neither is linked; what is installed is found
// at the first need and stays loaded until the process ends. The user needs the right to capture (on Linux CAP_NET_RAW).
//
// A frame is the destination's hardware address (6 bytes), the source's (6 bytes), the ether type (2 bytes, most significant
// first) and the payload. The check sequence and the padding to 60 bytes are the driver's business.
#pragma once

#include "zarlib/export.h"

#include <string>
#include <vector>

namespace zar::platform {
struct capture_adapter;
struct capture_packet;
} // namespace zar::platform

/// A network adapter in promiscuous mode.
///
///   state    reached by                              CreateSocket           DestroySocket   Send, Receive
///   closed   constructor, DestroySocket, a failure   open, or stays closed  nothing         not to be called
///   open     CreateSocket: true                      closes, then opens     closed          work
///
/// Copies share the adapter and the driver's packet, and each destructor gives both back: of two copies only one may come to that.
///
/// One thread may send while another receives; two may not send, nor two receive, nor one open or close beside them.
class ZAR_API chEthernetSocket {
public:
  /// Closed. On Windows a machine without the driver FAULTS here.
  chEthernetSocket();

  chEthernetSocket(const chEthernetSocket &) = default;
  chEthernetSocket &operator=(const chEthernetSocket &) = default;
  ~chEthernetSocket();

  /// Opens an adapter, switches it to promiscuous mode, and takes its hardware address as the source of what is sent.
  ///
  /// Where the mode or the address cannot be had, the adapter is open all the same, the address being zeros.
  /// Two refusals are also shown to the user (a message box on Windows, a line on stderr on Linux): "Please WinPcap first !"
  /// without a driver, "No adapter found." when none was named and the driver has none to list.
  /// @param adapterName  The driver's name of it: on Windows as the driver lists it (`\Device\NPF_{...}`), on Linux the
  ///                     interface's (eth0). Name one: an empty name where the driver does list adapters ends in std::bad_alloc.
  /// @return Whether it is open.
  bool CreateSocket(const std::string &adapterName);

  /// Closes the adapter if one is open.
  void DestroySocket();

  /// Sends one frame, once. May wait for the driver.
  /// @param destination  6 bytes.
  /// @param etherType    In the processor's byte order: 0x0800 for IPv4.
  /// @param size         Bytes of payload, 0 to 1486.
  /// @return Whether the driver took it; false for another size, which never reaches the driver.
  /// REQUIRES: an open adapter.
  bool Send(const void *destination, unsigned short etherType, const void *data, int size);

  /// Waits for a frame, whomever it is for; frames that other programs of this machine send may be among them.
  /// @param source, destination  Receive 6 bytes each; may be null.
  /// @param etherType  In the processor's byte order; may be null.
  /// @param payload    Receives all that the read brought after the frame's first 14 bytes. A driver that delivers several frames
  ///                   at once has them here one after the other with the driver's headers between; on Linux it is always one.
  /// @param timeoutMs  Handed to the driver: milliseconds; 0 waits without limit, -1 not at all.
  /// @return false, with every argument as it was, after the time, on a failure, and for what is too short to hold a frame.
  /// REQUIRES: an open adapter.
  bool Receive(void *source, void *destination, unsigned short *etherType, std::vector<unsigned char> &payload,
               int timeoutMs);

private:
  zar::platform::capture_adapter *m_adapter = nullptr;
  zar::platform::capture_packet *m_packet;
  std::vector<unsigned char> m_frame;
  std::vector<unsigned char> m_received;
};
