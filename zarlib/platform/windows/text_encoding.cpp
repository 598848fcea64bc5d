#include "zarlib/platform/text_encoding.h"

#include "zarlib/platform/windows/wide_text.h"

#include <cstdlib>

namespace zar::platform {

/// A code page by its number; anything that is no number is the default.
static unsigned code_page(const std::string &encoding) {
  const unsigned long number = std::strtoul(encoding.c_str(), nullptr, 10);
  return number ? static_cast<unsigned>(number) : CP_ACP;
}

static bool is_known(unsigned page) { return page == CP_ACP || IsValidCodePage(page); }

std::string narrow_to_utf8(const std::string &text, const std::string &encoding) {
  const unsigned page = code_page(encoding);
  return is_known(page) ? from_wide(to_wide(text, page)) : text;
}

std::string utf8_to_narrow(const std::string &text, const std::string &encoding) {
  const unsigned page = code_page(encoding);
  return is_known(page) ? from_wide(to_wide(text), page) : text;
}

} // namespace zar::platform
