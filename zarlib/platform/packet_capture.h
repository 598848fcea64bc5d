// A packet-capture driver: whole Ethernet frames to and from an adapter, through the thirteen
// operations of such a driver.
//
// Windows: the entry points of the same names in Packet.dll, bound on first use and kept until the process ends.
// Without that module every operation faults.
// Linux: libpcap, bound on first use and kept likewise. Without it the version is the empty text, and operations that
// need an adapter return null or false; null objects are refused.
//
// Any thread may trigger the binding. One thread may send on an adapter while another receives.
#pragma once

namespace zar::platform {

struct capture_adapter; ///< an open adapter
struct capture_packet;  ///< a buffer and how much of it the last read filled

/// A query to an adapter.
struct capture_query {
  unsigned object; ///< what is queried: query_current_address
  unsigned length; ///< room in `data`
  unsigned char data[6];
};

constexpr unsigned filter_promiscuous = 0x20;
constexpr unsigned query_current_address = 0x01010102;

/// A read puts a record header before each frame: two words of time, the captured and the full length (32 bits each),
/// and, at this offset, the distance from the start of the record to the frame (16 bits).
constexpr unsigned record_distance_offset = 16;

/// @return The driver's version; null or empty without a driver.
const char *packet_get_version();

/// Writes the adapters' names, each NUL-terminated, with one more NUL at the end.
/// @param length  Room in `names`; receives the size written or needed.
bool packet_get_adapter_names(char *names, unsigned *length);

/// @param name  The driver's own name for it; on Linux the interface's (eth0). @return null when it cannot be opened.
capture_adapter *packet_open_adapter(const char *name);
void packet_close_adapter(capture_adapter *adapter);

/// Selects what is received; filter_promiscuous is everything that passes.
bool packet_set_hw_filter(capture_adapter *adapter, unsigned filter);

/// Queries the adapter, or, with `set`, sets the value.
bool packet_request(capture_adapter *adapter, bool set, capture_query *query);

/// How long a read waits for a frame, in milliseconds: 0 without limit, -1 not at all.
bool packet_set_read_timeout(capture_adapter *adapter, int milliseconds);

/// Sets the size of the driver's buffer for unread frames.
bool packet_set_buff(capture_adapter *adapter, int bytes);

/// @return A packet without a buffer, to be freed with packet_free_packet(); null when out of memory.
capture_packet *packet_allocate_packet();
void packet_free_packet(capture_packet *packet);

/// Gives the packet its buffer, which remains the caller's, and marks nothing as read.
void packet_init_packet(capture_packet *packet, void *buffer, unsigned length);

/// Sends the content of the packet's buffer, a frame without its check sequence. @return Whether it was sent.
bool packet_send_packet(capture_adapter *adapter, capture_packet *packet, bool synchronous);

/// Waits for frames and stores records of them in the packet's buffer; on Linux one.
/// @return false on failure. After the time-out either false, or true with nothing received.
bool packet_receive_packet(capture_adapter *adapter, capture_packet *packet, bool synchronous);

/// The number of bytes that the last read filled.
int packet_bytes_received(const capture_packet &packet);

} // namespace zar::platform
