// Streams over the loopback against Boost.Asio's synchronous sockets with the same bytes.
//
// Both ends run on one processor, each on its own thread: waking an idle second processor costs ten times what is
// compared here.
#include "benchmarks/socket_ends.h"
#include "zarlib/trace/tracer_manager.h"

#include <benchmark/benchmark.h>
#include <thread>

namespace {

using bytes = std::vector<unsigned char>;
namespace asio = boost::asio;

// The ends of a connection: they connect() to each other, send() a message, and receive() one of the size of `message`,
// returning false at the end of the stream.

struct ours_stream {
  static void connect(ours_stream &a, ours_stream &b) { connect_ends(a.socket, b.socket); }
  void send(const bytes &message) { socket.Send(message.data(), static_cast<int>(message.size())); }
  bool receive(bytes &message) {
    const int size = static_cast<int>(message.size());
    return socket.waitForBufferBytes(size, longest_wait) && socket.ReceiveStream(message, 0) == size;
  }
  void close() { socket.DestroySocket(); }

  chSocketTCP socket;
};

struct asio_stream {
  static void connect(asio_stream &a, asio_stream &b) { connect_ends(a.socket, b.socket); }
  void send(const bytes &message) { asio::write(socket, asio::buffer(message)); }
  bool receive(bytes &message) {
    boost::system::error_code error;
    return asio::read(socket, asio::buffer(message), error) == message.size();
  }
  void close() { socket.close(); }

  asio::io_context context;
  asio::ip::tcp::socket socket{context};
};

/// A message and its reply.
template <typename End>
void round_trip(benchmark::State &state) {
  uCTraceHelper::getInstance().ResetTraceLevel(6);
  pin_to_one_processor();
  End a, b;
  End::connect(a, b);
  std::thread echo([&] {
    bytes message(static_cast<size_t>(state.range(0)));
    while (b.receive(message)) b.send(message);
  });
  bytes message(static_cast<size_t>(state.range(0)), 'x');
  for (auto _ : state) {
    a.send(message);
    if (!a.receive(message)) state.SkipWithError("connection lost");
  }
  a.close();
  echo.join();
}

/// Messages in one direction, with a reply after each `batch`.
template <typename End>
void one_way(benchmark::State &state) {
  uCTraceHelper::getInstance().ResetTraceLevel(6);
  pin_to_one_processor();
  End a, b;
  End::connect(a, b);
  const auto batch = state.range(1);
  std::thread sink([&] {
    bytes message(static_cast<size_t>(state.range(0)));
    for (long count = 1; b.receive(message); ++count)
      if (count % batch == 0) b.send(bytes(1));
  });
  bytes message(static_cast<size_t>(state.range(0)), 'x'), answer(1);
  for (auto _ : state) {
    for (long i = 0; i < batch; ++i) a.send(message);
    if (!a.receive(answer)) state.SkipWithError("connection lost");
  }
  state.SetItemsProcessed(state.iterations() * batch);
  a.close();
  sink.join();
}

constexpr long small = 64, large = 1 << 20;

BENCHMARK(round_trip<ours_stream>)->Name("BM_RoundTrip64/ours")->Arg(small)->UseRealTime();
BENCHMARK(round_trip<asio_stream>)->Name("BM_RoundTrip64/asio")->Arg(small)->UseRealTime();
BENCHMARK(one_way<ours_stream>)->Name("BM_OneWay64/ours")->Args({small, 1000})->UseRealTime();
BENCHMARK(one_way<asio_stream>)->Name("BM_OneWay64/asio")->Args({small, 1000})->UseRealTime();
BENCHMARK(one_way<ours_stream>)->Name("BM_OneWay1MB/ours")->Args({large, 16})->UseRealTime();
BENCHMARK(one_way<asio_stream>)->Name("BM_OneWay1MB/asio")->Args({large, 16})->UseRealTime();

} // namespace

BENCHMARK_MAIN();
