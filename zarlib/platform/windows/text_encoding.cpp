#include "zarlib/platform/text_encoding.h"

#include "zarlib/platform/windows/wide_text.h"

#include <cstdlib>

namespace zar::platform {

/// A code page by number; the default if empty, an invalid page if not a number.
static unsigned code_page(const std::string &encoding) {
  if (encoding.empty()) return CP_ACP;
  char *end;
  const unsigned long number = std::strtoul(encoding.c_str(), &end, 10);
  return *end ? ~0u : static_cast<unsigned>(number);
}

// IsValidCodePage() rejects the numbers that stand for one of the system's own pages, such as 1 for the console's.
static bool is_known(unsigned page) { return MultiByteToWideChar(page, 0, "a", 1, nullptr, 0) > 0; }

std::string narrow_to_utf8(const std::string &text, const std::string &encoding) {
  const unsigned page = code_page(encoding);
  return is_known(page) ? from_wide(to_wide(text, page)) : text;
}

std::string utf8_to_narrow(const std::string &text, const std::string &encoding) {
  const unsigned page = code_page(encoding);
  return is_known(page) ? from_wide(to_wide(text), page) : text;
}

} // namespace zar::platform
