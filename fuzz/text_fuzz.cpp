// The parsers of small texts: UTF-8, quoted texts, paths, words.
#include "zarlib/companion/qxstl.h"
#include "zarlib/text/characters.h"
#include "zarlib/text/paths.h"
#include "zarlib/text/quoted.h"
#include "zarlib/text/words.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>

static void require(bool holds) {
  if (!holds) std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string text(reinterpret_cast<const char *>(data), size);

  std::string out;
  const int closing = fromQuotaString(text, out);
  require(closing == 0 || text.at(static_cast<size_t>(closing)) == '"');

  const std::wstring wide = qx::string_utf8_to_wstring(text.substr(0, text.find('\0')));
  require(qx::string_utf8_to_wstring(qx::string_wstring_to_utf8(wide)) == wide);
  for (std::string rest = text; !rest.empty();) {
    chUTF8Inc(rest);
    const char length = rest.back();
    require(length >= 1 && length <= 3);
    rest.pop_back();
    rest.erase(0, static_cast<size_t>(length));
  }

  for (const auto &word : zarGetWords(text)) require(word.find_first_of(getTabWhiteSpace()) == std::string::npos);
  try {
    const std::string tidy = pathTidy(text);
    require(tidy[0] == '\\' || pathTidy(tidy) == tidy);
  } catch (const std::out_of_range &) {
    require(size == 0 || size == 2);
  }
  return 0;
}
