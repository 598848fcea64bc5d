#include "zarlib/platform/packet_capture.h"

#include "zarlib/platform/modules.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <linux/if_packet.h>
#include <memory>
#include <net/if.h>
#include <new>
#include <poll.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>

namespace zar::platform {

namespace {

// The part of libpcap's public interface that is used here.
struct pcap;
struct pcap_interface {
  pcap_interface *next;
  const char *name;
};
struct pcap_frame_header {
  timeval time;
  std::uint32_t captured, length;
};
constexpr int link_ethernet = 1, error_text_size = 256;

/// The library's entry points; `found` only if all are present.
struct pcap_library {
  void *module = nullptr;
  bool found = true;

  const char *(*version)();
  int (*find_all)(pcap_interface **, char *);
  void (*free_all)(pcap_interface *);
  pcap *(*create)(const char *, char *);
  int (*set_snapshot_length)(pcap *, int);
  int (*set_immediate)(pcap *, int);
  int (*set_buffer_size)(pcap *, int);
  int (*activate)(pcap *);
  int (*link_type)(pcap *);
  int (*set_nonblocking)(pcap *, int, char *);
  int (*descriptor)(pcap *);
  int (*next)(pcap *, pcap_frame_header **, const unsigned char **);
  int (*inject)(pcap *, const void *, size_t);
  void (*close)(pcap *);

  pcap_library() {
    for (const char *name : {"libpcap.so.0.8", "libpcap.so.1", "libpcap.so"})
      if (!module) module = load_module(name);
    bind(version, "pcap_lib_version");
    bind(find_all, "pcap_findalldevs");
    bind(free_all, "pcap_freealldevs");
    bind(create, "pcap_create");
    bind(set_snapshot_length, "pcap_set_snaplen");
    bind(set_immediate, "pcap_set_immediate_mode");
    bind(set_buffer_size, "pcap_set_buffer_size");
    bind(activate, "pcap_activate");
    bind(link_type, "pcap_datalink");
    bind(set_nonblocking, "pcap_setnonblock");
    bind(descriptor, "pcap_get_selectable_fd");
    bind(next, "pcap_next_ex");
    bind(inject, "pcap_inject");
    bind(close, "pcap_close");
  }

private:
  template <typename Function>
  void bind(Function *&function, const char *name) {
    function = module ? reinterpret_cast<Function *>(find_symbol(module, name)) : nullptr;
    found = found && function;
  }
};

/// Bound on first use and never unloaded.
const pcap_library &library() {
  static const pcap_library &bound = *new pcap_library;
  return bound;
}

struct pcap_closer {
  void operator()(pcap *handle) const { library().close(handle); }
};
using pcap_handle = std::unique_ptr<pcap, pcap_closer>;

/// Precedes each frame in a read buffer.
struct record {
  std::uint32_t seconds, microseconds, captured, length;
  std::uint16_t distance, unused;
};
static_assert(offsetof(record, distance) == record_distance_offset);

constexpr int whole_frame = 65535;
// Room for 64 of the longest frames, or for thousands if the adapter never coalesces frames.
constexpr int kept_bytes = 4 << 20;

/// A capturing handle; null if there is none, or it does not capture Ethernet.
pcap_handle open_capture(const char *name) {
  const pcap_library &pcap = library();
  char error[error_text_size];
  pcap_handle handle(pcap.create(name, error));
  if (!handle) return handle;
  pcap.set_snapshot_length(handle.get(), whole_frame);
  pcap.set_buffer_size(handle.get(), kept_bytes);
  pcap.set_immediate(handle.get(), 1);
  const bool usable = pcap.activate(handle.get()) >= 0 && pcap.link_type(handle.get()) == link_ethernet &&
                      pcap.set_nonblocking(handle.get(), 1, error) == 0;
  return usable ? std::move(handle) : nullptr;
}

} // namespace

struct capture_adapter {
  pcap_handle handle;
  std::string name;
  int timeout = 0;
  bool promiscuous = false;

  int descriptor() const { return library().descriptor(handle.get()); }
};

struct capture_packet {
  unsigned char *buffer = nullptr;
  unsigned length = 0;
  unsigned bytes_received = 0;

  void fill(const pcap_frame_header &header, const unsigned char *frame) {
    record before = {};
    before.seconds = static_cast<std::uint32_t>(header.time.tv_sec);
    before.microseconds = static_cast<std::uint32_t>(header.time.tv_usec);
    before.captured = std::min<std::uint32_t>(header.captured, length - sizeof before);
    before.length = header.length;
    before.distance = sizeof before;
    std::memcpy(buffer, &before, sizeof before);
    std::memcpy(buffer + sizeof before, frame, before.captured);
    bytes_received = before.distance + before.captured;
  }
};

const char *packet_get_version() { return library().found ? library().version() : ""; }

bool packet_get_adapter_names(char *names, unsigned *length) {
  const pcap_library &pcap = library();
  char error[error_text_size];
  pcap_interface *first = nullptr;
  if (!pcap.found || pcap.find_all(&first, error) != 0) return false;
  std::string all;
  for (const pcap_interface *one = first; one; one = one->next) all.append(one->name).push_back('\0');
  pcap.free_all(first);
  all.push_back('\0');
  const bool fits = all.size() <= *length;
  *length = static_cast<unsigned>(all.size());
  if (fits) all.copy(names, all.size());
  return fits && all.size() > 1;
}

capture_adapter *packet_open_adapter(const char *name) {
  if (!library().found) return nullptr;
  pcap_handle handle = open_capture(name);
  return handle ? new capture_adapter{std::move(handle), name} : nullptr;
}

void packet_close_adapter(capture_adapter *adapter) { delete adapter; }

// Opening does not enable it, so it is set on the underlying socket. The kernel drops it with the last descriptor.
bool packet_set_hw_filter(capture_adapter *adapter, unsigned filter) {
  if (!adapter) return false;
  const bool promiscuous = (filter & filter_promiscuous) != 0;
  if (promiscuous == adapter->promiscuous) return true;
  packet_mreq request = {};
  request.mr_ifindex = static_cast<int>(if_nametoindex(adapter->name.c_str()));
  request.mr_type = PACKET_MR_PROMISC;
  const int change = promiscuous ? PACKET_ADD_MEMBERSHIP : PACKET_DROP_MEMBERSHIP;
  if (setsockopt(adapter->descriptor(), SOL_PACKET, change, &request, sizeof request) != 0) return false;
  adapter->promiscuous = promiscuous;
  return true;
}

bool packet_request(capture_adapter *adapter, bool set, capture_query *query) {
  if (!adapter || set || query->object != query_current_address || query->length < sizeof query->data) return false;
  ifreq request = {};
  adapter->name.copy(request.ifr_name, sizeof request.ifr_name - 1);
  if (ioctl(adapter->descriptor(), SIOCGIFHWADDR, &request) != 0) return false;
  std::memcpy(query->data, request.ifr_hwaddr.sa_data, sizeof query->data);
  return true;
}

bool packet_set_read_timeout(capture_adapter *adapter, int milliseconds) {
  if (adapter) adapter->timeout = milliseconds;
  return adapter;
}

// The ring is allocated once, when the adapter is opened.
bool packet_set_buff(capture_adapter *adapter, int bytes) { return adapter && bytes <= kept_bytes; }

capture_packet *packet_allocate_packet() { return new (std::nothrow) capture_packet; }

void packet_free_packet(capture_packet *packet) { delete packet; }

void packet_init_packet(capture_packet *packet, void *buffer, unsigned length) {
  if (packet) *packet = {static_cast<unsigned char *>(buffer), length, 0};
}

bool packet_send_packet(capture_adapter *adapter, capture_packet *packet, bool) {
  if (!adapter || !packet) return false;
  return library().inject(adapter->handle.get(), packet->buffer, packet->length) == static_cast<int>(packet->length);
}

bool packet_receive_packet(capture_adapter *adapter, capture_packet *packet, bool) {
  const pcap_library &pcap = library();
  if (!pcap.found || !adapter || !packet || packet->length < sizeof(record)) return false;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(adapter->timeout);
  for (;;) {
    pcap_frame_header *header = nullptr;
    const unsigned char *frame = nullptr;
    const int frames = pcap.next(adapter->handle.get(), &header, &frame);
    if (frames == 1) packet->fill(*header, frame);
    if (frames != 0) return frames == 1;

    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
    if (adapter->timeout != 0 && left <= 0) return false;
    pollfd waiting = {adapter->descriptor(), POLLIN, 0};
    if (poll(&waiting, 1, adapter->timeout != 0 ? static_cast<int>(left) : -1) < 0 && errno != EINTR) return false;
  }
}

int packet_bytes_received(const capture_packet &packet) { return static_cast<int>(packet.bytes_received); }

} // namespace zar::platform
