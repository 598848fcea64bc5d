#include "zarlib/platform/packet_capture.h"

#include "zarlib/platform/modules.h"
#include "zarlib/platform/types.h"

#include <cstddef>

namespace zar::platform {

/// The driver's layout, of which only the count is read here.
struct capture_packet {
  HANDLE event;
  OVERLAPPED overlapped;
  void *buffer;
  unsigned length;
  DWORD bytes_received;
  BOOLEAN complete;
};
static_assert(offsetof(capture_packet, bytes_received) == 32);

namespace {

/// The address of an entry point; null without the driver. The module is never unloaded.
void *find_entry(const char *name) {
  static void *const driver = load_module("Packet.dll");
  return driver ? find_symbol(driver, name) : nullptr;
}

template <typename Function>
Function *entry(const char *name) {
  return reinterpret_cast<Function *>(find_entry(name));
}

} // namespace

// Settled, callers rely on it: the pointers are called unchecked, so this crashes on a machine without the driver.

const char *packet_get_version() {
  static auto *const call = entry<const char *()>("PacketGetVersion");
  return call();
}

bool packet_set_read_timeout(capture_adapter *adapter, int milliseconds) {
  static auto *const call = entry<BOOLEAN(capture_adapter *, int)>("PacketSetReadTimeout");
  return call(adapter, milliseconds);
}

bool packet_set_buff(capture_adapter *adapter, int bytes) {
  static auto *const call = entry<BOOLEAN(capture_adapter *, int)>("PacketSetBuff");
  return call(adapter, bytes);
}

capture_adapter *packet_open_adapter(const char *name) {
  static auto *const call = entry<capture_adapter *(const char *)>("PacketOpenAdapter");
  return call(name);
}

bool packet_send_packet(capture_adapter *adapter, capture_packet *packet, bool synchronous) {
  static auto *const call = entry<BOOLEAN(capture_adapter *, capture_packet *, BOOLEAN)>("PacketSendPacket");
  return call(adapter, packet, synchronous);
}

capture_packet *packet_allocate_packet() {
  static auto *const call = entry<capture_packet *()>("PacketAllocatePacket");
  return call();
}

void packet_init_packet(capture_packet *packet, void *buffer, unsigned length) {
  static auto *const call = entry<void(capture_packet *, void *, unsigned)>("PacketInitPacket");
  call(packet, buffer, length);
}

void packet_free_packet(capture_packet *packet) {
  static auto *const call = entry<void(capture_packet *)>("PacketFreePacket");
  call(packet);
}

bool packet_receive_packet(capture_adapter *adapter, capture_packet *packet, bool synchronous) {
  static auto *const call = entry<BOOLEAN(capture_adapter *, capture_packet *, BOOLEAN)>("PacketReceivePacket");
  return call(adapter, packet, synchronous);
}

bool packet_set_hw_filter(capture_adapter *adapter, unsigned filter) {
  static auto *const call = entry<BOOLEAN(capture_adapter *, ULONG)>("PacketSetHwFilter");
  return call(adapter, filter);
}

bool packet_get_adapter_names(char *names, unsigned *length) {
  static auto *const call = entry<BOOLEAN(char *, unsigned *)>("PacketGetAdapterNames");
  return call(names, length);
}

bool packet_request(capture_adapter *adapter, bool set, capture_query *query) {
  static auto *const call = entry<BOOLEAN(capture_adapter *, BOOLEAN, capture_query *)>("PacketRequest");
  return call(adapter, set, query);
}

void packet_close_adapter(capture_adapter *adapter) {
  static auto *const call = entry<void(capture_adapter *)>("PacketCloseAdapter");
  call(adapter);
}

int packet_bytes_received(const capture_packet &packet) { return static_cast<int>(packet.bytes_received); }

} // namespace zar::platform
