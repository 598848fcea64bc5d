// A packet-capture driver: whole Ethernet frames to and from an adapter, in the thirteen operations that such a driver has.
//
// Windows: the entry points of the same names in Packet.dll, bound at the first need and kept until the process ends. Without
// that module every operation faults.
// Linux: libpcap, bound at the first need and kept likewise. Without it the version is the empty text, and what needs an
// adapter answers null or false; null objects are refused.
//
// Any thread may bind. One thread may send on an adapter while another receives.
#pragma once

namespace zar::platform {

struct capture_adapter; ///< an open adapter
struct capture_packet;  ///< a buffer and how much of it a read has filled

/// A query to an adapter.
struct capture_query {
  unsigned object; ///< what is asked for: query_current_address
  unsigned length; ///< room in `data`
  unsigned char data[6];
};

constexpr unsigned filter_promiscuous = 0x20;
constexpr unsigned query_current_address = 0x01010102;

/// What a read puts in front of each frame begins with two words of time, the captured and the whole length (32 bits each), and,
/// at this offset, 16 bits with the distance from the start of the record to the frame.
constexpr unsigned record_distance_offset = 16;

/// @return The driver's version; null or empty without a driver.
const char *packet_get_version();

/// Writes the names of the adapters, each terminated, with one more NUL at the end.
/// @param length  Room in `names`; receives what was written or is needed.
bool packet_get_adapter_names(char *names, unsigned *length);

/// @param name  The driver's own name for it; the interface's (eth0) on Linux. @return null when it cannot be opened.
capture_adapter *packet_open_adapter(const char *name);
void packet_close_adapter(capture_adapter *adapter);

/// Chooses what is received; filter_promiscuous is all that passes.
bool packet_set_hw_filter(capture_adapter *adapter, unsigned filter);

/// Asks the adapter something, or, with `set`, tells it something.
bool packet_request(capture_adapter *adapter, bool set, capture_query *query);

/// How long a read waits for a frame, in milliseconds: 0 without limit, -1 not at all.
bool packet_set_read_timeout(capture_adapter *adapter, int milliseconds);

/// The bytes that the driver is to keep for frames that are not read yet.
bool packet_set_buff(capture_adapter *adapter, int bytes);

/// @return A packet without a buffer, to be given back; null without memory.
capture_packet *packet_allocate_packet();
void packet_free_packet(capture_packet *packet);

/// Gives the packet its buffer, which stays the caller's, and nothing read so far.
void packet_init_packet(capture_packet *packet, void *buffer, unsigned length);

/// Sends what is in the packet's buffer, a frame without its check sequence. @return Whether it went out.
bool packet_send_packet(capture_adapter *adapter, capture_packet *packet, bool synchronous);

/// Waits for frames and puts records of them into the packet's buffer; on Linux one.
/// @return false on failure. After the time-out either false, or true with nothing received.
bool packet_receive_packet(capture_adapter *adapter, capture_packet *packet, bool synchronous);

/// The bytes that the last read has filled.
int packet_bytes_received(const capture_packet &packet);

} // namespace zar::platform
