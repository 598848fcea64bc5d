// The four text-to-byte decoders, and their encoders.
#include "zarlib/text/codecs.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

static void require(bool holds) {
  if (!holds) std::abort();
}

using bytes = std::vector<unsigned char>;

static bool is_digit(char c) { return zarA2HEX(c) != 255; }
static bool is_base64(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/';
}

static std::string only(const std::string &text, bool (*is_taken)(char)) {
  std::string taken;
  std::copy_if(text.begin(), text.end(), std::back_inserter(taken), is_taken);
  return taken;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string text(reinterpret_cast<const char *>(data), size);
  const bytes raw(data, data + size);
  const int count = static_cast<int>(size);

  const std::string base16 = zarBin2Base16(data, count), base64 = zarBin2Base64(data, count);
  require(zarBase162Bin(base16) == raw && zarText2Bin(zarBin2Text(data, count)) == raw && zarBase642Bin(base64) == raw);
  bytes fetched(size);
  require(fetchBytesFromBase16(base16, fetched.data(), count) && fetched == raw);
  fetched.resize(size / 2);
  require(fetchBytesFromBase16(text, fetched.data(), count / 2) == (size % 2 == 0));

  // Skipped characters have no effect.
  const std::string digits = only(text, is_digit), sextets = only(text.substr(0, text.find('=')), is_base64);
  const bytes from_digits = zarBase162Bin(digits), from_sextets = zarBase642Bin(sextets);
  require(zarBase162Bin(text) == from_digits && from_digits.size() == (digits.size() + 1) / 2);
  require(zarBase642Bin(text) == from_sextets && from_sextets.size() == sextets.size() * 6 / 8);
  require(zarText2Bin(digits) == bytes(from_digits.begin(), from_digits.end() - digits.size() % 2));
  require(zarText2Bin(text).size() <= size / 2);
  return 0;
}
