#include "zarlib/text/codecs.h"

#include "zarlib/text/codec_loops.h"

#include <algorithm>
#include <limits>

using namespace zar;

namespace {

const unsigned char *bytes_at(const void *data) { return static_cast<const unsigned char *>(data); }
size_t count_of(int size) { return size > 0 ? static_cast<size_t>(size) : 0; }

} // namespace

std::string zarBin2Base16(const void *data, int size) {
  return to_base16(best_vector_level, bytes_at(data), count_of(size));
}

std::string zarBin2Text(const void *data, int size) {
  constexpr size_t most = std::numeric_limits<size_t>::max() / 3; // std::string rejects such a size as too long
  std::string text(3 * std::min(count_of(size), most), ' ');
  char *out = text.data();
  for (const unsigned char *in = bytes_at(data); out != text.data() + text.size(); ++in, out += 3) {
    out[0] = "0123456789ABCDEF"[*in >> 4];
    out[1] = "0123456789ABCDEF"[*in & 15];
  }
  return text;
}

std::string zarBin2Base64(const void *data, int size) {
  return to_base64(best_vector_level, bytes_at(data), count_of(size));
}

std::vector<unsigned char> zarBase162Bin(const std::string &text) { return from_base16(best_vector_level, text); }

std::vector<unsigned char> zarText2Bin(const std::string &text) {
  std::vector<unsigned char> bytes;
  bytes.reserve(text.size() / 2);
  unsigned high = no_value;
  for (const char c : text) {
    const unsigned value = value_of(hexadecimal_values, c);
    if (high == no_value) {
      high = value;
      continue;
    }
    bytes.push_back(static_cast<unsigned char>(value == no_value ? high : high << 4 | value));
    high = no_value;
  }
  // Settled, callers rely on it: a digit still pending here is dropped, where zarBase162Bin() makes a byte of it.
  return bytes;
}

std::vector<unsigned char> zarBase642Bin(const std::string &text) { return from_base64(best_vector_level, text); }

bool fetchBytesFromBase16(const std::string &text, void *out, int size) {
  if (size < 0 || text.size() != 2 * static_cast<size_t>(size)) return false;
  fetch_base16(best_vector_level, text, static_cast<unsigned char *>(out));
  return true;
}

unsigned char zarA2HEX(char digit) { return static_cast<unsigned char>(value_of(hexadecimal_values, digit)); }

unsigned char zarSwap8Bit(unsigned char value) {
  unsigned bits = value;
  bits = (bits & 0x0F) << 4 | (bits & 0xF0) >> 4;
  bits = (bits & 0x33) << 2 | (bits & 0xCC) >> 2;
  return static_cast<unsigned char>((bits & 0x55) << 1 | (bits & 0xAA) >> 1);
}

void zarSwapBytes(void *data, int size) {
  unsigned char *const bytes = static_cast<unsigned char *>(data);
  std::reverse(bytes, bytes + count_of(size));
}
