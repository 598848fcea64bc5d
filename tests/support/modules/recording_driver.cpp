// A packet-capture driver without a network: records its calls, and returns what the test has set.
#include "recording_driver.h"

#include <cstring>

driver_state driver;

namespace {

/// The published layout of such a driver.
struct packet {
  void *deprecated[6]; // an event handle and a structure of five words
  char *buffer;
  unsigned length, bytes_received;
  bool complete;
};

template <typename... Values>
char record(const std::string &name, Values... values) {
  driver.calls += name;
  ((driver.calls += " " + std::to_string(values)), ...);
  driver.calls += "\n";
  return 1;
}

} // namespace

extern "C" {
const char *PacketGetVersion() { return driver.version; }
char PacketSetReadTimeout(void *adapter, int time) { return record("SetReadTimeout", adapter == &driver, time); }
char PacketSetBuff(void *adapter, int size) { return record("SetBuff", adapter == &driver, size); }
void *PacketOpenAdapter(const char *name) {
  return record("Open " + std::string(name)) && driver.opens ? &driver : nullptr;
}
void PacketCloseAdapter(void *adapter) { record("Close", adapter == &driver); }
char PacketSetHwFilter(void *adapter, unsigned long filter) {
  return !record("SetHwFilter", adapter == &driver, filter);
}
packet *PacketAllocatePacket() { return record("Allocate") ? new packet() : nullptr; }
void PacketFreePacket(packet *freed) { record("Free"), delete freed; }
void PacketInitPacket(packet *one, char *buffer, unsigned length) { one->buffer = buffer, one->length = length; }

char PacketGetAdapterNames(char *names, unsigned *length) {
  std::memcpy(names, "one\0", 5);
  return record("GetAdapterNames", *length) && driver.lists;
}

char PacketRequest(void *adapter, char set, unsigned *query) {
  std::memcpy(query + 2, "SOURCE", 6);
  return !record("Request", adapter == &driver, set, query[0], query[1]);
}

char PacketSendPacket(void *adapter, packet *one, char synchronous) {
  return record("Send " + std::string(one->buffer, one->length), adapter == &driver, synchronous) && driver.sends;
}

char PacketReceivePacket(void *adapter, packet *one, char synchronous) {
  driver.read.copy(one->buffer, one->length);
  one->bytes_received = static_cast<unsigned>(driver.counted);
  return record("Receive", adapter == &driver, one->length, synchronous) && driver.reads;
}
}
