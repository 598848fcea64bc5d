#include "zarlib/trace/tracer_manager.h"

#include "zarlib/crash/crash_capture.h"
#include "zarlib/frame/process_identity.h"
#include "zarlib/frame/static_instance.h"
#include "zarlib/platform/fault.h"
#include "zarlib/platform/file_stream.h"
#include "zarlib/platform/static_lock.h"
#include "zarlib/trace/console.h"
#include "zarlib/trace/file_trace.h"
#include "zarlib/trace/level_test.h"
#include "zarlib/trace/line_text.h"
#include "zarlib/trace/nesting_depths.h"
#include "zarlib/trace/option_text.h"

#include <atomic>
#include <cstdlib>
#include <limits>
#include <mutex>

namespace {

constinit zar::static_instance<uCTraceHelper> instance;

// The following are used before the tracer is constructed and after it is destroyed, so none needs dynamic
// initialisation or a destructor.

/// Placeholder until the process has read its option: -1 makes every inlined check call the library.
constinit TraceOutputOption unread_option = {zar::from_system, zar::from_system};

/// In force once the tracer is destroyed: every line to the console.
constinit TraceOutputOption last_option = {std::numeric_limits<int>::max(), zar::output_console};

constinit std::atomic<TraceOutputOption *> system_option{&last_option};

/// The output that lines go to. It follows the method in force, ignoring numbers that are not a method.
constinit std::atomic<int> output{zar::output_none};

/// Guards the stateful outputs and the tracer's end. Only the frame's mutex and heap counters are taken under it.
constinit zar::platform::static_lock outputs;

/// Whether the file trace and the block are usable; guarded by `outputs`.
constinit bool is_open = false;

/// Gives up in the end: a thread that the system stopped while it held the lock must not keep the process from exiting.
bool lock_for_the_end() {
  constexpr int milliseconds = 1000;
  for (int i = 0; i < milliseconds; ++i) {
    if (outputs.try_lock()) return true;
    zarDelay(1);
  }
  return false;
}

int word_in_force(int TraceOutputOption::*word, const TraceOutputOption &process) {
  const int own = zar::load_word(process.*word);
  return own != zar::from_system ? own : zar::load_word(system_option.load(std::memory_order_acquire)->*word);
}

class frame_lock {
public:
  explicit frame_lock(chMutex_Local &mutex) : m_mutex(mutex) { m_mutex.Lock(-1); }
  frame_lock(const frame_lock &) = delete;
  frame_lock &operator=(const frame_lock &) = delete;
  ~frame_lock() { m_mutex.Unlock(); }

private:
  chMutex_Local &m_mutex;
};

void set_output(int method) {
  if (output.load(std::memory_order_relaxed) != method) output.store(method, std::memory_order_relaxed);
}

} // namespace

constinit std::atomic<TraceOutputOption *> zarTraceLevelTest::s_option{&unread_option};

uCTraceHelper &uCTraceHelper::getInstance() {
  return instance.get("[E:] re-enter static instance of uCTraceHelper", []() -> uCTraceHelper & {
    static uCTraceHelper helper;
    return helper;
  });
}

uCTraceHelper::uCTraceHelper() : m_pFileTrace(new chFileTrace) {
  open_stamped(chSystemTracerManager::block_name, chSystemTracerManager::block_size,
               chSystemTracerManager::block_version);
  if (m_object) {
    // An additional opener that never closes: other threads may read an option in the block while the process exits.
    static auto &keeper = *new chMapFile_Local;
    keeper.OpenMapFile(chSystemTracerManager::block_name, chSystemTracerManager::block_size);
    system_option.store(&m_object->system_option(), std::memory_order_release);
    is_open = true;
  }
  zarHookCrashSignal();
}

uCTraceHelper::~uCTraceHelper() {
  zarTraceLevelTest::s_option.store(&last_option, std::memory_order_release);
  if (!lock_for_the_end()) {
    // The holder of the lock may be in the middle of a line: what it uses is left open.
    m_object = nullptr;
    return;
  }
  is_open = false;
  delete m_pFileTrace;
  CloseShareObject();
  outputs.unlock_for_good();
}

int uCTraceHelper::GetOutputLevel() { return word_in_force(&TraceOutputOption::level, GetProcessTraceOption()); }

int uCTraceHelper::GetOutputMethod() { return word_in_force(&TraceOutputOption::method, GetProcessTraceOption()); }

int uCTraceHelper::ResetTraceLevel(int level) {
  zar::store_word(GetProcessTraceOption().level, level);
  return 1;
}

int uCTraceHelper::RedirectToNull() { return redirect(zar::output_none); }

int uCTraceHelper::RedirectToConsole() { return redirect(zar::output_console); }

int uCTraceHelper::RedirectToShareMemory() { return redirect(zar::output_store); }

int uCTraceHelper::RedirectToFileTrace(const std::string &name, int sizeKB, int count) {
  TraceOutputOption &option = GetProcessTraceOption();
  const std::lock_guard hold(outputs);
  zar::store_word(option.method, zar::output_file);
  set_output(zar::output_file);
  if (is_open) m_pFileTrace->OpenFileTrace(name, sizeKB, count);
  return 1;
}

int uCTraceHelper::redirect(int method) {
  zar::store_word(GetProcessTraceOption().method, method);
  set_output(method);
  return 1;
}

// These two are inlined: after a system call, each return from a function entered before it is slow.
[[gnu::always_inline]] inline void uCTraceHelper::write_to_file(zar::line_text &line) {
  {
    const std::lock_guard hold(outputs);
    if (is_open) {
      if (std::FILE *const stream = m_pFileTrace->PrepareForLine(line))
        zar::platform::write_all(stream, line.view().data(), line.size());
      return;
    }
  }
  TraceToConsole(std::string(line.view()));
}

[[gnu::always_inline]] inline void uCTraceHelper::deliver(zar::line_text &line) {
  zar::platform::arm_thread();
  switch (output.load(std::memory_order_relaxed)) {
  case zar::output_console:
    return TraceToConsole(std::string(line.view()));
  case zar::output_file:
    return write_to_file(line);
  case zar::output_store:
    return write_to_store(line.view());
  }
}

void uCTraceHelper::TraceOutString(const char *module, const std::string &text) {
  if (GetOutputMethod() == zar::output_none) return;
  zar::line_text line;
  zar::append_line_prefix(line, module);
  line.append(text);
  deliver(line);
}

void uCTraceHelper::TraceConstString(const std::string &text) {
  if (GetOutputMethod() == zar::output_none) return;
  zar::line_text line;
  line.append(text);
  deliver(line);
}

[[gnu::hot]] void zar::trace_formatted(const char *module, const char *format, va_list args) {
  uCTraceHelper &tracer = uCTraceHelper::getInstance();
  if (tracer.GetOutputMethod() == output_none) return;
  line_text line;
  append_line_prefix(line, module);
  append_formatted(line, format, args);
  tracer.deliver(line);
}

void uCTraceHelper::TraceToConsole(const std::string &text) { consoleWriteString(false, text); }

void uCTraceHelper::TraceToFileTrace(const std::string &text) {
  zar::line_text line;
  line.append(text);
  write_to_file(line);
}

void uCTraceHelper::TraceToShareMemory(const std::string &text) { write_to_store(text); }

void uCTraceHelper::write_to_store(std::string_view line) {
  std::unique_lock hold(outputs);
  if (is_open && m_object) {
    const frame_lock hold_frame(m_mutex);
    m_object->store_line(line);
    return;
  }
  hold.unlock();
  TraceToConsole(std::string(line));
}

int uCTraceHelper::ReadShareMemoryString(std::string &text) {
  const std::lock_guard hold(outputs);
  if (!is_open || !m_object) return 0;
  const frame_lock hold_frame(m_mutex);
  int bytes = 0;
  std::string spilled;
  if (!m_object->take_spilled(spilled, bytes)) return m_object->take_line(text);
  zar::line_text marker;
  zar::append_line_prefix(marker, "M:TraceHelper");
  text.assign(marker.view()) += "Write " + std::to_string(bytes) + " bytes first.\n" + spilled;
  return 1;
}

int uCTraceHelper::push_trace_level() { return zar::enter_scope(); }

int uCTraceHelper::pop_trace_level() { return zar::leave_scope(); }

[[gnu::hot]] TraceOutputOption &uCTraceHelper::GetProcessTraceOption() {
  TraceOutputOption *const known = zarTraceLevelTest::s_option.load(std::memory_order_acquire);
  TraceOutputOption &option = known != &unread_option ? *known : read_process_option();
  const int method = word_in_force(&TraceOutputOption::method, option);
  if (method >= zar::output_none && method <= zar::output_store) set_output(method);
  return option;
}

/// On first use: creates the process's record in the block and reads the variable `trace`.
TraceOutputOption &uCTraceHelper::read_process_option() {
  const std::lock_guard hold(outputs);
  TraceOutputOption *option = zarTraceLevelTest::s_option.load(std::memory_order_acquire);
  if (option != &unread_option) return *option;
  if (is_open) {
    const frame_lock hold_frame(m_mutex);
    m_object->drop_dead_processes();
    option = m_object->renew_process_option(zarGetCurrentProcessId());
  }
  if (!is_open || !option) option = &last_option;
  zar::read_option_text(std::getenv("trace"), *option, is_open ? m_pFileTrace : nullptr);
  zarTraceLevelTest::s_option.store(option, std::memory_order_release);
  return *option;
}
