// Lines to a log file, each passed to the system before its call returns, against a logging library and the bare system
// call.
#define FMT_HEADER_ONLY // the peer is header-only
#include "zarlib/trace/file_trace.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <filesystem>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <unistd.h>

namespace {

const std::string line =
    "[D:] D:Module (12345:12346) 2024-05-06 07:08:09.123 a line of a hundred bytes, of the usual kind ...";

/// A temporary folder for one run.
class folder {
public:
  folder() : m_path(std::filesystem::temp_directory_path() / ("file_trace_bench-" + std::to_string(getpid()))) {
    std::filesystem::create_directory(m_path);
  }
  folder(const folder &) = delete;
  folder &operator=(const folder &) = delete;
  ~folder() { std::filesystem::remove_all(m_path); }
  std::string operator/(const char *name) const { return m_path / name; }

private:
  std::filesystem::path m_path;
};

template <class Sink>
void run_spdlog(benchmark::State &state, std::shared_ptr<Sink> sink, const char *pattern) {
  spdlog::logger logger("bench", std::move(sink));
  logger.set_pattern(pattern);
  logger.flush_on(spdlog::level::trace);
  for (auto _ : state) logger.info(spdlog::string_view_t(line));
}

void run_ours(benchmark::State &state, int size_kb, int count) {
  const folder place;
  chFileTrace trace;
  trace.OpenFileTrace(place / "log", size_kb, count);
  for (auto _ : state) trace.WriteLogLine(line);
}

void BM_LineFlushed_ours(benchmark::State &state) { run_ours(state, 2000000, 5); }

void BM_LineFlushed_spdlog_bare(benchmark::State &state) {
  const folder place;
  run_spdlog(state, std::make_shared<spdlog::sinks::basic_file_sink_st>(place / "log"), "%v\r");
}

void BM_LineFlushed_spdlog(benchmark::State &state) {
  const folder place;
  run_spdlog(state, std::make_shared<spdlog::sinks::basic_file_sink_st>(place / "log"), "%+\r");
}

void BM_LineFlushed_write(benchmark::State &state) {
  const folder place;
  const int file = open((place / "log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
  const std::string bytes = line + "\r\n";
  for (auto _ : state) benchmark::DoNotOptimize(write(file, bytes.data(), bytes.size()));
  close(file);
}

void BM_LineRotating_ours(benchmark::State &state) { run_ours(state, 400, 5); }

void BM_LineRotating_spdlog(benchmark::State &state) {
  const folder place;
  run_spdlog(state, std::make_shared<spdlog::sinks::rotating_file_sink_st>(place / "log", 400 * 1024, 5), "%+\r");
}

void BM_LineBuffered_ours(benchmark::State &state) {
  const folder place;
  chFileTrace trace;
  trace.OpenFileTrace(place / "log", 2000000, 5);
  for (auto _ : state) trace.WriteLogLineRaw("", line);
}

void BM_LineBuffered_spdlog(benchmark::State &state) {
  const folder place;
  spdlog::logger logger("bench", std::make_shared<spdlog::sinks::basic_file_sink_st>(place / "log"));
  logger.set_pattern("%+\r");
  for (auto _ : state) logger.info(spdlog::string_view_t(line));
}

BENCHMARK(BM_LineFlushed_ours)->Name("BM_LineFlushed/ours");
BENCHMARK(BM_LineFlushed_spdlog)->Name("BM_LineFlushed/spdlog");
BENCHMARK(BM_LineFlushed_spdlog_bare)->Name("BM_LineFlushed/spdlog-message-only");
BENCHMARK(BM_LineFlushed_write)->Name("BM_LineFlushed/write");
BENCHMARK(BM_LineRotating_ours)->Name("BM_LineRotating/ours");
BENCHMARK(BM_LineRotating_spdlog)->Name("BM_LineRotating/spdlog");
BENCHMARK(BM_LineBuffered_ours)->Name("BM_LineBuffered/ours");
BENCHMARK(BM_LineBuffered_spdlog)->Name("BM_LineBuffered/spdlog");

} // namespace

BENCHMARK_MAIN();
