#include "zarlib/text/quoted.h"

#include <algorithm>
#include <string_view>

namespace {

/// The value of the hexadecimal digit at `at`; -1 if there is none.
int digit_at(std::string_view text, size_t at) {
  const char c = at < text.size() ? text[at] : '\0';
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

/// Appends what the escape after the backslash stands for. @return Its length, without the backslash.
size_t unescape(std::string_view escape, std::string &out) {
  switch (escape[0]) {
  case 'n':
    out += '\n';
    return 1;
  case 'r':
    out += '\r';
    return 1;
  case 't':
    out += '\t';
    return 1;
  case 'x':
  case 'X':
    break;
  default:
    out += escape[0];
    return 1;
  }
  const int high = digit_at(escape, 1);
  if (high < 0) return 1;
  const int low = digit_at(escape, 2);
  // Settled, callers rely on it: the value is appended as decimal text, not as the byte.
  out += std::to_string(low < 0 ? high : high * 16 + low);
  return low < 0 ? 2 : 3;
}

} // namespace

std::string toQuotaString(const void *data, int length) {
  constexpr char digits[] = "0123456789ABCDEF";
  // Settled, callers rely on it: 34 bytes of value 1 where one would expect the opening quote, which has the code 34.
  std::string result(34, '\1');
  for (const char c : std::string_view(static_cast<const char *>(data), static_cast<size_t>(std::max(length, 0)))) {
    const auto byte = static_cast<unsigned char>(c);
    switch (c) {
    case '\t':
      result += "\\t";
      break;
    case '\n':
      result += "\\n";
      break;
    case '\r':
      result += "\\r";
      break;
    case '"':
    case '\\':
      (result += '\\') += c;
      break;
    default:
      if (byte >= 32 && byte <= 127)
        result += c;
      else
        ((result += "\\x") += digits[byte >> 4]) += digits[byte & 15];
    }
  }
  return result += '"';
}

int fromQuotaString(const std::string &quoted, std::string &out) {
  if (quoted.size() < 2 || quoted[0] != '"') return 0;
  for (size_t at = 1; at < quoted.size(); ++at) {
    if (quoted[at] == '"') return static_cast<int>(at);
    if (quoted[at] != '\\')
      out += quoted[at];
    else if (at + 1 < quoted.size())
      at += unescape(std::string_view(quoted).substr(at + 1), out);
  }
  return 0;
}
