// Lines of the tracer against spdlog with an equivalent pattern, and against a bare write() of the same bytes.
#define FMT_HEADER_ONLY
#include "zarlib/trace/scope_tracers.h"
#include "zarlib/trace/trace.h"
#include "zarlib/trace/tracer_manager.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/ringbuffer_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>
#include <string>
#include <unistd.h>

namespace {

constexpr const char *same_content = "[D:Who?+%P:%t] %m-%d %H:%M:%S.%e %E.%f %v";
constexpr int quiet_level = 5;

/// A temporary folder for this run; removed with the benchmarks' output.
class folder {
public:
  folder() : m_path(std::filesystem::temp_directory_path() / ("trace_bench" + std::to_string(getpid()))) {
    std::filesystem::create_directories(m_path);
  }
  ~folder() { std::filesystem::remove_all(m_path); }
  std::string operator/(const std::string &name) const { return (m_path / name).string(); }

private:
  std::filesystem::path m_path;
};

const folder &files() {
  static const folder made;
  return made;
}

/// Redirects standard output during a benchmark.
class diverted_stdout {
public:
  explicit diverted_stdout(const std::string &path) : m_saved(dup(STDOUT_FILENO)) {
    std::fflush(stdout);
    const int target = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(target, STDOUT_FILENO);
    close(target);
  }
  ~diverted_stdout() {
    std::fflush(stdout);
    dup2(m_saved, STDOUT_FILENO);
    close(m_saved);
  }

private:
  int m_saved;
};

std::string console_target(const benchmark::State &state) { return state.range(0) ? files() / "console" : "/dev/null"; }

std::shared_ptr<spdlog::logger> peer(spdlog::sink_ptr sink) {
  auto logger = std::make_shared<spdlog::logger>("peer", std::move(sink));
  logger->set_pattern(same_content);
  logger->set_level(spdlog::level::info);
  logger->flush_on(spdlog::level::info);
  return logger;
}

uCTraceHelper &tracer() { return uCTraceHelper::getInstance(); }

// A suppressed line.

void BM_Disabled_ours(benchmark::State &state) {
  tracer().ResetTraceLevel(quiet_level);
  int i = 0;
  for (auto _ : state) zarTrace(7, "value %d of %s", ++i, "many");
  tracer().ResetTraceLevel(-1);
}

void BM_DisabledScope_ours(benchmark::State &state) {
  tracer().ResetTraceLevel(quiet_level);
  int i = 0;
  for (auto _ : state) {
    const chTraceStack scope(7, __PRETTY_FUNCTION__, "value %d of %s", ++i, "many");
    benchmark::ClobberMemory();
  }
  tracer().ResetTraceLevel(-1);
}

/// A scope with the same line written by hand.
void BM_DisabledScope_trace_call(benchmark::State &state) {
  tracer().ResetTraceLevel(quiet_level);
  int i = 0;
  for (auto _ : state) {
    zarTrace(7, "value %d of %s", ++i, "many");
    benchmark::ClobberMemory();
  }
  tracer().ResetTraceLevel(-1);
}

void BM_Disabled_spdlog_logger(benchmark::State &state) {
  const auto logger = peer(std::make_shared<spdlog::sinks::basic_file_sink_st>("/dev/null"));
  int i = 0;
  for (auto _ : state) logger->debug("value {} of {}", ++i, "many");
}

void BM_Disabled_spdlog_default(benchmark::State &state) {
  spdlog::set_level(spdlog::level::info);
  int i = 0;
  for (auto _ : state) spdlog::debug("value {} of {}", ++i, "many");
}

// A line to a log file, passed to the system before the call returns.

void trace_lines(benchmark::State &state) {
  int i = 0;
  for (auto _ : state) zarTrace(5, "value %d of %s", ++i, "many");
}

void log_lines(benchmark::State &state, spdlog::logger &logger) {
  int i = 0;
  for (auto _ : state) logger.info("value {} of {}", ++i, "many");
}

void BM_FileLine_ours(benchmark::State &state) {
  tracer().RedirectToFileTrace(files() / "ours", 1024 * 1024, 2);
  trace_lines(state);
}

void BM_FileLine_spdlog(benchmark::State &state) {
  log_lines(state, *peer(std::make_shared<spdlog::sinks::basic_file_sink_st>(files() / "peer.log")));
}

void BM_FileLine_bare_write(benchmark::State &state) {
  const std::string line = "[D:Who?+12345:12345] 07-14 09:05:33.021 18211.004512 value 1234567 of many\r\n";
  const int file = open((files() / "bare").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  for (auto _ : state) benchmark::DoNotOptimize(write(file, line.data(), line.size()));
  close(file);
}

void BM_RotatingLine_ours(benchmark::State &state) {
  tracer().RedirectToFileTrace(files() / "ours_rotating", 100, 3);
  trace_lines(state);
}

void BM_RotatingLine_spdlog(benchmark::State &state) {
  log_lines(state,
            *peer(std::make_shared<spdlog::sinks::rotating_file_sink_st>(files() / "rotating.log", 100 * 1024, 2)));
}

void BM_FileThreads_ours(benchmark::State &state) {
  if (state.thread_index() == 0) tracer().RedirectToFileTrace(files() / "ours_threads", 1024 * 1024, 2);
  trace_lines(state);
}

void BM_FileThreads_spdlog(benchmark::State &state) {
  static const auto logger = peer(std::make_shared<spdlog::sinks::basic_file_sink_mt>(files() / "threads.log"));
  log_lines(state, *logger);
}

// A line on standard output: to /dev/null (0) and to a file (1).

void BM_ConsoleLine_ours(benchmark::State &state) {
  const diverted_stdout elsewhere(console_target(state));
  tracer().RedirectToConsole();
  trace_lines(state);
}

void BM_ConsoleLine_spdlog(benchmark::State &state) {
  const diverted_stdout elsewhere(console_target(state));
  log_lines(state, *peer(std::make_shared<spdlog::sinks::stdout_sink_st>()));
}

// Lines kept in memory and read back, a thousand at a time.

constexpr int kept_lines = 1000;

void BM_StoreLine_ours(benchmark::State &state) {
  tracer().RedirectToShareMemory();
  std::string text;
  for (auto _ : state) {
    for (int i = 0; i < kept_lines; ++i) zarTrace(5, "value %d of %s", i, "many");
    while (tracer().ReadShareMemoryString(text)) benchmark::DoNotOptimize(text.data());
  }
  state.SetItemsProcessed(state.iterations() * kept_lines);
}

void BM_StoreLine_spdlog(benchmark::State &state) {
  const auto sink = std::make_shared<spdlog::sinks::ringbuffer_sink_st>(kept_lines);
  const auto logger = peer(sink);
  for (auto _ : state) {
    for (int i = 0; i < kept_lines; ++i) logger->info("value {} of {}", i, "many");
    for (const std::string &text : sink->last_formatted()) benchmark::DoNotOptimize(text.data());
  }
  state.SetItemsProcessed(state.iterations() * kept_lines);
}

BENCHMARK(BM_Disabled_ours)->Name("BM_Disabled/ours");
BENCHMARK(BM_Disabled_spdlog_logger)->Name("BM_Disabled/spdlog_logger");
BENCHMARK(BM_Disabled_spdlog_default)->Name("BM_Disabled/spdlog_default");
BENCHMARK(BM_DisabledScope_ours)->Name("BM_DisabledScope/ours");
BENCHMARK(BM_DisabledScope_trace_call)->Name("BM_DisabledScope/trace_call");
BENCHMARK(BM_FileLine_ours)->Name("BM_FileLine/ours");
BENCHMARK(BM_FileLine_spdlog)->Name("BM_FileLine/spdlog");
BENCHMARK(BM_FileLine_bare_write)->Name("BM_FileLine/bare_write");
BENCHMARK(BM_RotatingLine_ours)->Name("BM_RotatingLine/ours");
BENCHMARK(BM_RotatingLine_spdlog)->Name("BM_RotatingLine/spdlog");
BENCHMARK(BM_FileThreads_ours)->Name("BM_FileThreads/ours")->Threads(2)->Threads(4)->UseRealTime();
BENCHMARK(BM_FileThreads_spdlog)->Name("BM_FileThreads/spdlog")->Threads(2)->Threads(4)->UseRealTime();
BENCHMARK(BM_ConsoleLine_ours)->Name("BM_ConsoleLine/ours")->Arg(0)->Arg(1);
BENCHMARK(BM_ConsoleLine_spdlog)->Name("BM_ConsoleLine/spdlog")->Arg(0)->Arg(1);
BENCHMARK(BM_StoreLine_ours)->Name("BM_StoreLine/ours");
BENCHMARK(BM_StoreLine_spdlog)->Name("BM_StoreLine/spdlog");

} // namespace

BENCHMARK_MAIN();
