#include "zarlib/text/words.h"

#include "zarlib/companion/qxstl.h"
#include "zarlib/text/characters.h"

#include <string_view>

namespace {

/// Appends the fields between any of `separators`. An empty remainder after the last separator is never a field.
void split(std::string_view text, std::string_view separators, bool keep_empty, std::vector<std::string> &out) {
  while (!text.empty()) {
    const size_t at = text.find_first_of(separators);
    const std::string_view field = text.substr(0, at);
    if (keep_empty || !field.empty()) out.emplace_back(field);
    if (at == std::string_view::npos) return;
    text.remove_prefix(at + 1);
  }
}

/// The same if the caller's `text` may be an element of `out`, which is reallocated as `out` grows.
int split_any(const std::string &text, std::string_view separators, bool keep_empty, std::vector<std::string> &out) {
  const std::string copy = out.empty() ? std::string() : text;
  split(out.empty() ? text : copy, separators, keep_empty, out);
  return static_cast<int>(out.size());
}

} // namespace

bool sameString(const std::string &a, const std::string &b) { return qx::string_compare(a, b, true) == 0; }

bool sameXmlKeyName(const std::string &a, const std::string &b) { return qx::string_compare(a, b, true) == 0; }

bool sameStringNC(const std::string &a, const std::string &b) { return qx::string_compare(a, b, false) == 0; }

std::vector<std::string> zarGetWords(const std::string &text) {
  std::vector<std::string> words;
  zarGetWords(text, words);
  return words;
}

int zarGetWords(const std::string &text, std::vector<std::string> &out) {
  return split_any(text, getTabWhiteSpace(), false, out);
}

std::vector<std::string> zarTextBreak(const std::string &text, char separator) {
  std::vector<std::string> fields;
  split(text, {&separator, 1}, false, fields);
  return fields;
}

int zarTextBreak(const std::string &text, char separator, std::vector<std::string> &out) {
  // Settled, callers rely on it: this form keeps empty fields, the other drops them.
  return split_any(text, {&separator, 1}, true, out);
}
