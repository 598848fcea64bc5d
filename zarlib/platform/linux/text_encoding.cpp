#include "zarlib/platform/text_encoding.h"

#include <cerrno>
#include <iconv.h>
#include <langinfo.h>
#include <strings.h>

namespace zar::platform {

namespace {

constexpr char utf8[] = "UTF-8";

std::string name_of(const std::string &encoding) { return encoding.empty() ? nl_langinfo(CODESET) : encoding; }

// The C locale calls itself ASCII, but its bytes are whatever the user's files hold: they pass unchanged.
bool passes_unchanged(const std::string &name) {
  return strcasecmp(name.c_str(), utf8) == 0 || strcasecmp(name.c_str(), "UTF8") == 0 || name == "ANSI_X3.4-1968";
}

std::string convert(const std::string &text, const std::string &from, const std::string &to) {
  const iconv_t conversion = iconv_open(to.c_str(), from.c_str());
  if (conversion == reinterpret_cast<iconv_t>(-1)) return text;
  std::string result;
  std::string input = text;
  char *in = input.data();
  size_t in_left = input.size();
  for (bool last = false; !last;) {
    char piece[256];
    char *out = piece;
    size_t out_left = sizeof piece;
    // The last round returns a stateful encoding to its initial state.
    last = in_left == 0;
    const size_t answer = iconv(conversion, last ? nullptr : &in, &in_left, &out, &out_left);
    result.append(piece, out);
    if (answer != static_cast<size_t>(-1) || errno == E2BIG) continue;
    // Invalid, or not representable in the target encoding: replaced, and conversion continues.
    result += '?';
    do {
      ++in;
      --in_left;
    } while (in_left > 0 && from == utf8 && (static_cast<unsigned char>(*in) & 0xC0) == 0x80);
  }
  iconv_close(conversion);
  return result;
}

} // namespace

std::string narrow_to_utf8(const std::string &text, const std::string &encoding) {
  const std::string name = name_of(encoding);
  return passes_unchanged(name) ? text : convert(text, name, utf8);
}

std::string utf8_to_narrow(const std::string &text, const std::string &encoding) {
  const std::string name = name_of(encoding);
  return passes_unchanged(name) ? text : convert(text, utf8, name);
}

} // namespace zar::platform
