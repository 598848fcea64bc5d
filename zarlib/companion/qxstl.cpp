#include "zarlib/companion/qxstl.h"

#include "zarlib/platform/text_encoding.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

namespace {

unsigned char folded(unsigned char c) { return c >= 'A' && c <= 'Z' ? static_cast<unsigned char>(c + 32) : c; }

int compare(std::string_view a, std::string_view b, bool case_sensitive) {
  if (case_sensitive) return a.compare(b);
  const size_t common = std::min(a.size(), b.size());
  for (size_t i = 0; i < common; ++i) {
    const int difference = folded(static_cast<unsigned char>(a[i])) - folded(static_cast<unsigned char>(b[i]));
    if (difference != 0) return difference;
  }
  return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

constexpr char32_t replacement = 0xFFFD;

/// Decodes the code point at `at` and moves `at` past it; a byte that starts none counts as the replacement character.
char32_t decode_utf8(std::string_view text, size_t &at) {
  const auto lead = static_cast<unsigned char>(text[at++]);
  if (lead < 0x80) return lead;
  const size_t more = lead >= 0xC2 && lead < 0xE0   ? 1
                      : lead >= 0xE0 && lead < 0xF0 ? 2
                      : lead >= 0xF0 && lead < 0xF5 ? 3
                                                    : 0;
  if (more == 0 || text.size() - at < more) return replacement;
  char32_t code = lead & (0x3Fu >> more);
  for (size_t i = 0; i < more; ++i) {
    const auto next = static_cast<unsigned char>(text[at + i]);
    if ((next & 0xC0) != 0x80) return replacement;
    code = code << 6 | (next & 0x3Fu);
  }
  constexpr char32_t smallest[] = {0, 0x80, 0x800, 0x10000};
  if (code < smallest[more] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) return replacement;
  at += more;
  return code;
}

void append_utf8(std::string &text, char32_t code) {
  const auto tail = [&](int shift) { text += static_cast<char>(0x80 | (code >> shift & 0x3F)); };
  if (code < 0x80) {
    text += static_cast<char>(code);
  } else if (code < 0x800) {
    text += static_cast<char>(0xC0 | code >> 6);
    tail(0);
  } else if (code < 0x10000) {
    text += static_cast<char>(0xE0 | code >> 12);
    tail(6), tail(0);
  } else {
    text += static_cast<char>(0xF0 | code >> 18);
    tail(12), tail(6), tail(0);
  }
}

void append_wide(std::wstring &text, char32_t code) {
  if (sizeof(wchar_t) > 2 || code < 0x10000) {
    text += static_cast<wchar_t>(code);
    return;
  }
  text += static_cast<wchar_t>(0xD800 + ((code - 0x10000) >> 10));
  text += static_cast<wchar_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
}

bool is_high_surrogate(char32_t code) { return code >= 0xD800 && code < 0xDC00; }
bool is_low_surrogate(char32_t code) { return code >= 0xDC00 && code < 0xE000; }

} // namespace

namespace qx {

int string_compare(const std::string &a, const std::string &b, bool caseSensitive) {
  return compare(a, b, caseSensitive);
}

int string_diff(const std::string &a, const char *b, bool caseSensitive) { return compare(a, b, caseSensitive); }

int string_diff(const char *a, const std::string &b, bool caseSensitive) { return compare(a, b, caseSensitive); }

int qx_strcmp(const char *a, const char *b, bool caseSensitive) { return compare(a, b, caseSensitive); }

int string_find_first_one_of(const std::string &text, const std::vector<std::string> &tokens, int &index) {
  bool starts_token[256] = {};
  for (const auto &token : tokens)
    if (!token.empty()) starts_token[static_cast<unsigned char>(token[0])] = true;
  for (size_t at = 0; at < text.size(); ++at) {
    if (!starts_token[static_cast<unsigned char>(text[at])]) continue;
    for (size_t i = 0; i < tokens.size(); ++i) {
      if (tokens[i].empty() || text.compare(at, tokens[i].size(), tokens[i]) != 0) continue;
      index = static_cast<int>(i);
      return static_cast<int>(at);
    }
  }
  return -1;
}

int string_slice2(const std::string &text, const std::string &separator, std::string &left, std::string &right) {
  const size_t at = text.find(separator);
  std::string before = text.substr(0, at);
  std::string after = at == std::string::npos ? std::string() : text.substr(at + separator.size());
  left = std::move(before);
  right = std::move(after);
  return at == std::string::npos ? -1 : static_cast<int>(at);
}

std::vector<std::string> stringarray_builder_by_token(const char *first, ...) {
  std::vector<std::string> result;
  va_list rest;
  va_start(rest, first);
  for (const char *token = first; token; token = va_arg(rest, const char *)) result.emplace_back(token);
  va_end(rest);
  return result;
}

void trim_left(std::string &text, const std::string &set) { text.erase(0, text.find_first_not_of(set)); }

void trim_right(std::string &text, const std::string &set) { text.erase(text.find_last_not_of(set) + 1); }

void trim_both(std::string &text, const std::string &set) {
  trim_right(text, set);
  trim_left(text, set);
}

void string_replace(std::string &text, const std::string &from, const std::string &to) {
  if (from.empty()) return;
  size_t at = text.find(from);
  if (at == std::string::npos) return;
  std::string result;
  size_t done = 0;
  for (; at != std::string::npos; at = text.find(from, done)) {
    result.append(text, done, at - done).append(to);
    done = at + from.size();
  }
  text = std::move(result.append(text, done));
}

void string_builder_by_char(std::string &text, char first, char last) {
  text.clear();
  for (int c = first; c <= last; ++c) text += static_cast<char>(c);
}

void string_builder_by_range(std::string &text, const char *pairs, int count) {
  text.clear();
  for (int i = 0; i < count; ++i)
    for (int c = pairs[2 * i]; c <= pairs[2 * i + 1]; ++c) text += static_cast<char>(c);
}

bool string_is_ascii_string(const std::string &text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 128; });
}

std::wstring string_utf8_to_wstring(const std::string &text) {
  std::wstring result;
  result.reserve(text.size());
  for (size_t at = 0; at < text.size();) append_wide(result, decode_utf8(text, at));
  return result;
}

std::string string_wstring_to_utf8(const std::wstring &text) {
  std::string result;
  result.reserve(text.size());
  for (size_t at = 0; at < text.size() && text[at] != 0; ++at) {
    auto code = static_cast<char32_t>(text[at]);
    const char32_t next = at + 1 < text.size() ? static_cast<char32_t>(text[at + 1]) : 0;
    if (is_high_surrogate(code) && is_low_surrogate(next)) {
      code = 0x10000 + ((code - 0xD800) << 10) + (next - 0xDC00);
      ++at;
    } else if (is_high_surrogate(code) || is_low_surrogate(code) || code > 0x10FFFF) {
      code = replacement;
    }
    append_utf8(result, code);
  }
  return result;
}

int format_string_v(std::string &text, const char *format, va_list args) {
  char small[512];
  va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(small, sizeof small, format, args);
  if (length < 0) {
    text.clear();
  } else if (static_cast<size_t>(length) < sizeof small) {
    text.assign(small, static_cast<size_t>(length));
  } else {
    // Not into `text` directly, as the arguments may point into it.
    std::string result(static_cast<size_t>(length), '\0');
    std::vsnprintf(result.data(), result.size() + 1, format, again);
    text = std::move(result);
  }
  va_end(again);
  return std::max(length, -1);
}

std::string format_astring(const char *format, ...) {
  std::string text;
  va_list args;
  va_start(args, format);
  format_string_v(text, format, args);
  va_end(args);
  return text;
}

int string_to_int(const std::string &text) {
  // strtol saturates to long; where that is wider than int, saturate to int.
  const long value = std::strtol(text.c_str(), nullptr, 10);
  return static_cast<int>(std::clamp<long>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

std::string string_ascii_to_utf8(const std::string &text, const std::string &codePage) {
  return zar::platform::narrow_to_utf8(text, codePage);
}

std::string string_utf8_to_ascii(const std::string &text, const std::string &codePage) {
  return zar::platform::utf8_to_narrow(text, codePage);
}

} // namespace qx
