// Packets on streams against Boost.Asio's synchronous sockets with the same framing, and the socket event against plain
// datagrams.
//
// Both ends run on one processor, each on its own thread: waking an idle second processor costs ten times what is
// compared here.
#include "benchmarks/socket_ends.h"
#include "zarlib/net/packet_tcp.h"
#include "zarlib/net/socket_event.h"
#include "zarlib/trace/tracer_manager.h"

#include <benchmark/benchmark.h>
#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <thread>

namespace {

using bytes = std::vector<unsigned char>;
namespace asio = boost::asio;

// The ends of a connection: they connect() to each other, send() a packet, and receive() one, returning false at the
// end of the stream.

struct ours_end {
  static void connect(ours_end &a, ours_end &b) { connect_ends(a.socket, b.socket); }
  bool send(const bytes &payload) { return socket.SendOnePacket(payload.data(), static_cast<int>(payload.size())); }
  bool receive(bytes &payload) { return socket.ReceiveOnePacket(payload, longest_wait); }
  void close() { socket.DestroySocket(); }

  chSocketPacketTCP socket;
};

struct asio_end {
  static void connect(asio_end &a, asio_end &b) { connect_ends(a.socket, b.socket); }
  /// Header and payload in one gathered write.
  bool send(const bytes &payload) {
    const uint32_t header = htonl(static_cast<uint32_t>(payload.size()));
    const std::array<asio::const_buffer, 2> frame = {asio::buffer(&header, sizeof header), asio::buffer(payload)};
    boost::system::error_code error;
    asio::write(socket, frame, error);
    return !error;
  }
  bool receive(bytes &payload) {
    uint32_t header;
    boost::system::error_code error;
    asio::read(socket, asio::buffer(&header, sizeof header), error);
    if (error) return false;
    payload.resize(ntohl(header));
    asio::read(socket, asio::buffer(payload), error);
    return !error;
  }
  void close() { socket.close(); }

  asio::io_context context;
  asio::ip::tcp::socket socket{context};
};

/// On a non-blocking handle, like the library's: a read that finds nothing waits with poll().
struct asio_non_blocking_end : asio_end {
  static void connect(asio_non_blocking_end &a, asio_non_blocking_end &b) {
    asio_end::connect(a, b);
    a.socket.native_non_blocking(true);
    b.socket.native_non_blocking(true);
  }
};

/// With plain system calls on the same handle, each wait with a time-out, as ours has.
struct by_hand_end : asio_non_blocking_end {
  bool receive(bytes &payload) {
    uint32_t header;
    if (!read(&header, sizeof header)) return false;
    payload.resize(ntohl(header));
    return read(payload.data(), payload.size());
  }

  bool read(void *out, size_t size) {
    const int fd = socket.native_handle();
    for (auto *at = static_cast<unsigned char *>(out); size > 0;) {
      const ssize_t count = recv(fd, at, size, 0);
      if (count > 0) {
        at += count;
        size -= static_cast<size_t>(count);
        continue;
      }
      pollfd waited = {fd, POLLIN, 0};
      if (count == 0 || errno != EAGAIN || poll(&waited, 1, longest_wait) <= 0) return false;
    }
    return true;
  }
};

/// The thread `other` serves the second end until the first one is closed.
template <class End, class Other, class Step>
void between_ends(benchmark::State &state, Other other, Step step) {
  uCTraceHelper::getInstance().ResetTraceLevel(6);
  pin_to_one_processor();
  End a, b;
  End::connect(a, b);
  const bytes payload(static_cast<size_t>(state.range(0)), 'x');
  std::thread thread([&] { other(b, payload); });
  bytes out;
  for (auto _ : state) step(a, payload, out);
  if (out != payload) state.SkipWithError("another payload");
  a.close();
  thread.join();
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <class End>
void round_trip(benchmark::State &state) {
  const auto echo = [](End &end, const bytes &) {
    for (bytes out; end.receive(out) && end.send(out);) {
    }
  };
  between_ends<End>(state, echo, [](End &end, const bytes &payload, bytes &out) {
    end.send(payload);
    end.receive(out);
  });
}

template <class End>
void one_way(benchmark::State &state) {
  const auto source = [](End &end, const bytes &payload) {
    while (end.send(payload)) {
    }
  };
  between_ends<End>(state, source, [](End &end, const bytes &, bytes &out) { end.receive(out); });
}

/// A packet of 16 bytes from a buffer of `state.range(0)`.
void from_a_full_buffer(benchmark::State &state) {
  const bytes payload(16, 'x');
  const int count = static_cast<int>(state.range(0));
  ours_end a, b;
  ours_end::connect(a, b);
  bytes out;
  for (auto _ : state) {
    state.PauseTiming();
    std::thread sender([&] {
      for (int i = 0; i < count; ++i) a.send(payload);
    });
    b.socket.peek(nullptr, 0, count * 20, longest_wait);
    sender.join();
    state.ResumeTiming();
    for (int i = 0; i < count; ++i) b.receive(out);
  }
  state.SetItemsProcessed(state.iterations() * count);
}

void event_ours(benchmark::State &state) {
  chEvent_Socket event;
  event.OpenEventA();
  for (auto _ : state)
    if (!event.SetEvent() || !event.WaitEvent(-1)) state.SkipWithError("no signal");
}

/// A socket that sends to itself, as the event does.
void event_datagram(benchmark::State &state) {
  const int fd = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in address = {};
  socklen_t length = sizeof address;
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  sockaddr *const raw = reinterpret_cast<sockaddr *>(&address);
  bind(fd, raw, length);
  getsockname(fd, raw, &length);
  char out[64];
  for (auto _ : state)
    if (sendto(fd, "x", 1, 0, raw, length) != 1 || recv(fd, out, sizeof out, 0) != 1) state.SkipWithError("no signal");
  close(fd);
}

/// Cannot be signalled by another process, and is not portable.
void event_eventfd(benchmark::State &state) {
  const int fd = eventfd(0, EFD_SEMAPHORE);
  eventfd_t out;
  for (auto _ : state)
    if (eventfd_write(fd, 1) != 0 || eventfd_read(fd, &out) != 0) state.SkipWithError("no signal");
  close(fd);
}

BENCHMARK(round_trip<ours_end>)->Name("BM_RoundTrip/ours")->Arg(64)->UseRealTime();
BENCHMARK(round_trip<asio_end>)->Name("BM_RoundTrip/Asio")->Arg(64)->UseRealTime();
BENCHMARK(round_trip<asio_non_blocking_end>)->Name("BM_RoundTrip/Asio_non_blocking")->Arg(64)->UseRealTime();
BENCHMARK(round_trip<by_hand_end>)->Name("BM_RoundTrip/by_hand")->Arg(64)->UseRealTime();
BENCHMARK(one_way<ours_end>)->Name("BM_OneWay/ours")->Arg(64)->Arg(4096)->Arg(1 << 20)->UseRealTime();
BENCHMARK(one_way<asio_end>)->Name("BM_OneWay/Asio")->Arg(64)->Arg(4096)->Arg(1 << 20)->UseRealTime();
BENCHMARK(from_a_full_buffer)->Name("BM_FromAFullBuffer/ours")->Arg(1000)->Arg(100000)->UseRealTime();
BENCHMARK(event_ours)->Name("BM_SetAndTake/ours");
BENCHMARK(event_datagram)->Name("BM_SetAndTake/datagram");
BENCHMARK(event_eventfd)->Name("BM_SetAndTake/eventfd");

} // namespace

BENCHMARK_MAIN();
