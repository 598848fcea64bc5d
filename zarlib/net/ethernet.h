// Raw Ethernet frames, sent and received below the system's protocol stack.
//
// A packet-capture driver does the work: Packet.dll on Windows, libpcap on Linux. Neither is linked; the installed one
// is loaded on first use and stays loaded until the process ends. The user needs the right to capture (CAP_NET_RAW on
// Linux).
//
// A frame is the destination hardware address (6 bytes), the source address (6 bytes), the EtherType (2 bytes, most
// significant first) and the payload. The frame check sequence and the padding to 60 bytes are left to the driver.
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
/// Copies share the adapter and the driver's packet, and every destructor releases both: only one of two copies may be
/// destroyed.
///
/// One thread may send while another receives; two may not send, nor two receive, nor may one open or close meanwhile.
class ZAR_API chEthernetSocket {
public:
  /// Closed. On Windows this CRASHES on a machine without the driver.
  chEthernetSocket();

  chEthernetSocket(const chEthernetSocket &) = default;
  chEthernetSocket &operator=(const chEthernetSocket &) = default;
  ~chEthernetSocket();

  /// Opens an adapter, switches it to promiscuous mode, and takes its hardware address as the source address for
  /// sending.
  ///
  /// The adapter is opened even if the mode or the address cannot be had; the address is then all zeros.
  /// Two failures are also shown to the user (a message box on Windows, a line on stderr on Linux): "Please WinPcap
  /// first !" without a driver, "No adapter found." when no name is given and the driver lists none.
  /// @param adapterName  The driver's name for it: on Windows as the driver lists it (`\Device\NPF_{...}`), on Linux
  ///                     the interface name (eth0). Always pass one: an empty name throws std::bad_alloc if the driver
  ///                     lists any adapter.
  /// @return Whether the adapter is open.
  bool CreateSocket(const std::string &adapterName);

  /// Closes the adapter if one is open.
  void DestroySocket();

  /// Sends one frame, once. May wait for the driver.
  /// @param destination  6 bytes.
  /// @param etherType    In host byte order: 0x0800 for IPv4.
  /// @param size         Payload bytes, 0 to 1486.
  /// @return Whether the driver took it; false for any other size, which never reaches the driver.
  /// REQUIRES: an open adapter.
  bool Send(const void *destination, unsigned short etherType, const void *data, int size);

  /// Waits for a frame, whatever its destination; frames sent by other programs on this machine may be among them.
  /// @param source, destination  Receive 6 bytes each; may be null.
  /// @param etherType  In host byte order; may be null.
  /// @param payload    Receives everything the read returned after the frame's first 14 bytes. If the driver delivers
  ///                   several frames at once, the others follow here, with the driver's headers in between; on Linux
  ///                   there is always exactly one.
  /// @param timeoutMs  Milliseconds, passed to the driver: 0 waits without limit, -1 does not wait.
  /// @return false on time-out, on failure and for data too short to hold a frame; all arguments are then unchanged.
  /// REQUIRES: an open adapter.
  bool Receive(void *source, void *destination, unsigned short *etherType, std::vector<unsigned char> &payload,
               int timeoutMs);

private:
  zar::platform::capture_adapter *m_adapter = nullptr;
  zar::platform::capture_packet *m_packet;
  std::vector<unsigned char> m_frame;
  std::vector<unsigned char> m_received;
};
