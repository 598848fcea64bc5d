// Stacks: capturing and symbolising one, against the C library's own functions.
#include "zarlib/crash/stack_text.h"

#include "zarlib/platform/stack.h"

#include <benchmark/benchmark.h>

#ifndef _WIN32
#include <cstdlib>
#include <execinfo.h>
#endif

namespace {

constexpr int frames_below = 16;
constexpr int frames_max = 64;

/// Runs the benchmark loop below the given number of additional frames.
template <class Loop>
[[gnu::noinline]] int run_below(int frames, Loop &loop) {
  if (frames == 0) return loop(), 0;
  benchmark::DoNotOptimize(frames);
  const int result = run_below(frames - 1, loop);
  benchmark::DoNotOptimize(result);
  return result + 1;
}

template <class Step>
void measure(benchmark::State &state, Step step) {
  int frames = 0;
  auto loop = [&] {
    for (auto _ : state) frames = step();
  };
  run_below(frames_below, loop);
  state.counters["frames"] = frames;
}

void capture_ours(benchmark::State &state) {
  measure(state, [] {
    unsigned long long frames[frames_max];
    const int count = zar::platform::capture_stack(frames, frames_max);
    benchmark::DoNotOptimize(frames);
    return count;
  });
}

void names_ours(benchmark::State &state) {
  measure(state, [] { return static_cast<int>(zarReadStack(frames_max).size()); });
}

BENCHMARK(capture_ours)->Name("BM_StackCapture/ours");
BENCHMARK(names_ours)->Name("BM_StackNames/ours");

#ifndef _WIN32

void capture_peer(benchmark::State &state) {
  measure(state, [] {
    void *frames[frames_max];
    const int count = backtrace(frames, frames_max);
    benchmark::DoNotOptimize(frames);
    return count;
  });
}

void names_peer(benchmark::State &state) {
  measure(state, [] {
    void *frames[frames_max];
    const int count = backtrace(frames, frames_max);
    char **const names = backtrace_symbols(frames, count);
    benchmark::DoNotOptimize(names);
    std::free(names);
    return count;
  });
}

BENCHMARK(capture_peer)->Name("BM_StackCapture/glibc-backtrace");
BENCHMARK(names_peer)->Name("BM_StackNames/glibc-backtrace-symbols");

#endif

} // namespace

BENCHMARK_MAIN();
