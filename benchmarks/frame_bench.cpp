// Locks and the clock against those of the standard library and the system.
#include "zarlib/frame/critical_section.h"
#include "zarlib/frame/process_identity.h"
#include "zarlib/time/ticks.h"

#include <benchmark/benchmark.h>

#include <ctime>
#include <mutex>
#include <thread>

namespace {

using thread_lock = chThreadLock<chCriticalSection>;

void BM_LockUnlock_ours(benchmark::State &state) {
  static thread_lock lock;
  for (auto _ : state) {
    lock.Lock();
    lock.Unlock();
  }
}

void BM_LockUnlock_recursive_mutex(benchmark::State &state) {
  static std::recursive_mutex lock;
  for (auto _ : state) {
    lock.lock();
    lock.unlock();
  }
}

void BM_LockUnlockNested_ours(benchmark::State &state) {
  static thread_lock lock;
  lock.Lock();
  for (auto _ : state) {
    lock.Lock();
    lock.Unlock();
  }
  lock.Unlock();
}

void BM_LockUnlockNested_recursive_mutex(benchmark::State &state) {
  static std::recursive_mutex lock;
  lock.lock();
  for (auto _ : state) {
    lock.lock();
    lock.unlock();
  }
  lock.unlock();
}

void BM_ClockRead_ours(benchmark::State &state) {
  for (auto _ : state) benchmark::DoNotOptimize(chTimer::GetTickFromBoot());
}

void BM_ClockRead_clock_gettime(benchmark::State &state) {
  for (auto _ : state) {
    timespec now;
    clock_gettime(CLOCK_BOOTTIME, &now);
    benchmark::DoNotOptimize(now);
  }
}

void BM_ThreadId_ours(benchmark::State &state) {
  for (auto _ : state) benchmark::DoNotOptimize(zarGetCurrentThreadId());
}

void BM_ThreadId_this_thread(benchmark::State &state) {
  for (auto _ : state) benchmark::DoNotOptimize(std::this_thread::get_id());
}

} // namespace

BENCHMARK(BM_LockUnlock_ours)->Name("BM_LockUnlock/ours");
BENCHMARK(BM_LockUnlock_recursive_mutex)->Name("BM_LockUnlock/std::recursive_mutex");
BENCHMARK(BM_LockUnlock_ours)->Name("BM_LockContended/ours")->Threads(2)->UseRealTime();
BENCHMARK(BM_LockUnlock_recursive_mutex)->Name("BM_LockContended/std::recursive_mutex")->Threads(2)->UseRealTime();
BENCHMARK(BM_LockUnlockNested_ours)->Name("BM_LockNested/ours");
BENCHMARK(BM_LockUnlockNested_recursive_mutex)->Name("BM_LockNested/std::recursive_mutex");
BENCHMARK(BM_ClockRead_ours)->Name("BM_ClockRead/ours");
BENCHMARK(BM_ClockRead_clock_gettime)->Name("BM_ClockRead/clock_gettime");
BENCHMARK(BM_ThreadId_ours)->Name("BM_ThreadId/ours");
BENCHMARK(BM_ThreadId_this_thread)->Name("BM_ThreadId/std::this_thread");

int main(int argc, char **argv) {
  // Applications have several threads; the C library's locks are cheaper until the second one starts.
  std::thread([] {}).join();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
