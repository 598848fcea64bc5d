#include "zarlib/trace/option_text.h"

#include "zarlib/companion/qxstl.h"
#include "zarlib/text/words.h"
#include "zarlib/trace/file_trace.h"

#include <atomic>
#include <string>
#include <string_view>
#include <vector>

namespace zar {

namespace {

struct output_word {
  std::string_view word;
  output_method method;
};

constexpr output_word output_words[] = {{"null", output_none}, {"stdout", output_console}, {"console", output_console},
                                        {"log", output_file},  {"share", output_store},    {"system", output_store}};

void open_file_trace(chFileTrace &file, const std::vector<std::string> &fields) {
  const auto field = [&](size_t i) { return i < fields.size() ? fields[i] : std::string(); };
  file.OpenFileTrace(field(2), qx::string_to_int(field(3)), qx::string_to_int(field(4)));
}

} // namespace

// In C++20 atomic_ref does not accept a const object; nothing is written through it here.
int load_word(const int &word) { return std::atomic_ref<int>(const_cast<int &>(word)).load(std::memory_order_relaxed); }

void store_word(int &word, int value) { std::atomic_ref<int>(word).store(value, std::memory_order_relaxed); }

void read_option_text(const char *text, TraceOutputOption &option, chFileTrace *file) {
  if (!text || !*text) return;
  const std::vector<std::string> fields = zarTextBreak(text, ':');
  if (!fields.empty()) store_word(option.level, qx::string_to_int(fields[0]));
  if (fields.size() < 2) return;
  for (const auto &[word, method] : output_words)
    if (fields[1] == word) store_word(option.method, method);
  if (file && fields[1] == "log") open_file_trace(*file, fields);
}

} // namespace zar
