#include "zarlib/crash/stack_text.h"

#include "zarlib/crash/symbol_handler.h"
#include "zarlib/platform/console.h"
#include "zarlib/platform/stack.h"
#include "zarlib/platform/symbols.h"
#include "zarlib/trace/console.h"

#include <algorithm>
#include <mutex>
#include <unordered_map>

namespace {

constexpr unsigned frames_max = 256;
constexpr size_t line_capacity = 2000;

/// Cached lines. Code addresses recur, and resolving a name costs thousands of times as much as a cache hit.
class line_cache {
public:
  /// Locks the cache for the lines of one stack, for the lifetime of the returned lock.
  std::unique_lock<std::mutex> open() {
    std::unique_lock<std::mutex> lock(m_lock);
    if (zar::platform::refresh_modules() || m_lines.size() > lines_max) m_lines.clear();
    return lock;
  }

  /// REQUIRES: the lock from open() is held; the reference is valid as long as it is.
  const std::string &line(unsigned long long address) {
    const auto [at, is_new] = m_lines.try_emplace(address);
    if (is_new) {
      char text[line_capacity];
      if (zar::symbolize_address(address, text, sizeof text)) at->second = text;
    }
    return at->second;
  }

private:
  static constexpr size_t lines_max = 8192;
  std::mutex m_lock;
  std::unordered_map<unsigned long long, std::string> m_lines;
};

// Never destroyed: stacks are read until the very end of the process.
line_cache &lines() {
  static line_cache &cache = *new line_cache;
  return cache;
}

/// The number of frames to capture for `depth`, including the first, which is not shown.
int frames_wanted(int depth) {
  static const bool debugged = zar::platform::is_debugged();
  const unsigned wanted = std::min(static_cast<unsigned>(depth), frames_max);
  return wanted > 1 && !debugged && zar::symbol_handler() ? static_cast<int>(wanted) : 0;
}

} // namespace

// Neither may be inlined: its own frame is the one that is not shown.
[[gnu::noinline]] std::string zarReadStack(int depth) {
  unsigned long long frames[frames_max];
  const int count = zar::platform::capture_stack(frames, frames_wanted(depth));
  std::string text;
  if (count <= 1) return text;
  const auto open = lines().open();
  for (int index = 1; index < count; ++index) text.append(lines().line(frames[index])).append("\r\n");
  return text;
}

[[gnu::noinline]] void zarDumpStack(int depth) {
  unsigned long long frames[frames_max];
  const int count = zar::platform::capture_stack(frames, frames_wanted(depth));
  for (int index = 1; index < count; ++index) {
    auto open = lines().open();
    const std::string line = lines().line(frames[index]);
    open.unlock();
    consoleWriteString(true, line);
  }
}
