// The clipped 2-D copy against memcpy() of the same rows.
#include "zarlib/time/geometry.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <map>
#include <vector>

namespace {

constexpr int rows = 64;

/// A copy of 64 rows into the middle of a grid that is a quarter wider.
struct grids {
  explicit grids(int width)
      : from(static_cast<size_t>(width) * rows, 7), to(static_cast<size_t>(width + width / 4) * rows),
        from_size(width, rows), to_size(width + width / 4, rows), place(width / 8, 0) {}

  std::vector<unsigned char> from, to;
  chSize from_size, to_size;
  chPoint place;
};

/// The same buffers for ours and the peer.
grids &grids_of(benchmark::State &state) {
  static std::map<long, grids> all;
  const int width = static_cast<int>(state.range(0));
  return all.try_emplace(width, width).first->second;
}

void BM_copy_ours(benchmark::State &state) {
  grids &g = grids_of(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(zarMemcpy2D(g.to.data(), g.to_size, g.from.data(), g.from_size, g.place));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0) * rows);
}

void BM_copy_memcpy(benchmark::State &state) {
  grids &g = grids_of(state);
  for (auto _ : state) {
    for (int row = 0; row < rows; ++row)
      std::memcpy(g.to.data() + g.place.x + row * g.to_size.width, g.from.data() + row * g.from_size.width,
                  static_cast<size_t>(g.from_size.width));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0) * rows);
}

} // namespace

// The argument is the length of a row in bytes.
BENCHMARK(BM_copy_ours)->Name("BM_Copy2D/ours")->Arg(64)->Arg(1024)->Arg(4096)->Arg(65536);
BENCHMARK(BM_copy_memcpy)->Name("BM_Copy2D/memcpy")->Arg(64)->Arg(1024)->Arg(4096)->Arg(65536);
BENCHMARK_MAIN();
