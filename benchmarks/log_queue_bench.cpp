// Adding records to the log queue while a consumer takes them, against a deque under a mutex and spdlog's asynchronous
// logger; and taking them.
#define FMT_HEADER_ONLY
#include "zarlib/frame/process_identity.h"
#include "zarlib/trace/log_queue.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <spdlog/async.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>
#include <thread>
#include <vector>

namespace {

const std::string module_name = "M:bench", message = "value 1234567 of many";

/// The obvious hand-written queue: the same records, by value, in a deque under a mutex.
class plain_queue {
public:
  void put(char letter, const std::string &module, const std::string &text, int number) {
    TraceNode record{number, 0, letter, module, text, {}, zarGetCurrentThreadId()};
    zarGetLocalTime(&record.time);
    {
      const std::lock_guard hold(m_mutex);
      record.sequence = ++m_count;
      m_records.push_back(std::move(record));
    }
    m_filled.notify_one();
  }

  void take(std::deque<TraceNode> &records, int milliseconds) {
    records.clear();
    std::unique_lock hold(m_mutex);
    if (m_records.empty()) m_filled.wait_for(hold, std::chrono::milliseconds(milliseconds));
    records.swap(m_records);
  }

private:
  std::mutex m_mutex;
  std::condition_variable m_filled;
  std::deque<TraceNode> m_records;
  unsigned long long m_count = 0;
};

/// Takes records on its own thread during its lifetime.
class consumer {
public:
  template <class Take>
  explicit consumer(Take take)
      : m_thread([this, take] {
          while (!m_done) take();
        }) {}
  ~consumer() {
    m_done = true;
    m_thread.join();
  }

private:
  std::atomic<bool> m_done{false};
  std::thread m_thread;
};

plain_queue &plain() {
  static plain_queue made;
  return made;
}

std::unique_ptr<consumer> running;

void begin_ours(const benchmark::State &) {
  running = std::make_unique<consumer>([] {
    static std::list<TraceNode *> batch;
    qxGetLog(batch, 10);
  });
}

void begin_plain(const benchmark::State &) {
  running = std::make_unique<consumer>([] {
    static std::deque<TraceNode> batch;
    plain().take(batch, 10);
  });
}

void end(const benchmark::State &) { running.reset(); }

void BM_Put_ours(benchmark::State &state) {
  for (auto _ : state) qxTrace('N', module_name, message, 7);
}

void BM_Put_deque(benchmark::State &state) {
  for (auto _ : state) plain().put('N', module_name, message, 7);
}

void BM_Put_spdlog(benchmark::State &state) {
  static const auto pool = std::make_shared<spdlog::details::thread_pool>(8192, 1);
  static const auto logger = std::make_shared<spdlog::async_logger>(
      "M:bench", std::make_shared<spdlog::sinks::null_sink_mt>(), pool, spdlog::async_overflow_policy::block);
  for (auto _ : state) logger->info(message);
}

/// Creating and freeing a record: the common cost of every queue.
void BM_Record_ours(benchmark::State &state) {
  for (auto _ : state) {
    TraceNode *const record = new TraceNode{7, 0, 'N', module_name, message, {}, zarGetCurrentThreadId()};
    zarGetLocalTime(&record->time);
    benchmark::DoNotOptimize(record);
    delete record;
  }
}

constexpr int batch_size = 10000;

void BM_Take_ours(benchmark::State &state) {
  std::list<TraceNode *> batch;
  for (auto _ : state) {
    state.PauseTiming();
    for (int i = 0; i < batch_size; ++i) qxTrace('N', module_name, message, i);
    qxGetLog(batch, 0); // so that the next call frees nothing
    std::list<TraceNode *> kept;
    kept.swap(batch);
    for (int i = 0; i < batch_size; ++i) qxTrace('N', module_name, message, i);
    for (const TraceNode *record : kept) delete record;
    state.ResumeTiming();
    qxGetLog(batch, 0);
  }
  state.SetItemsProcessed(state.iterations() * batch_size);
}

BENCHMARK(BM_Put_ours)->Name("BM_Put/ours")->Setup(begin_ours)->Teardown(end)->ThreadRange(1, 4)->UseRealTime();
BENCHMARK(BM_Put_deque)->Name("BM_Put/deque")->Setup(begin_plain)->Teardown(end)->ThreadRange(1, 4)->UseRealTime();
BENCHMARK(BM_Put_spdlog)->Name("BM_Put/spdlog")->ThreadRange(1, 4)->UseRealTime();
BENCHMARK(BM_Record_ours)->Name("BM_Record/ours");
BENCHMARK(BM_Take_ours)->Name("BM_Take/ours");

} // namespace

BENCHMARK_MAIN();
