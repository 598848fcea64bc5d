// Untrusted envelopes, in text and binary form, and the cipher's padding.
#include "zarlib/crypto/aes.h"
#include "zarlib/crypto/password.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

static void require(bool holds) {
  if (!holds) std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string text(reinterpret_cast<const char *>(data), size);
  const std::string opened = pswDecrypt(text);
  require(opened.size() <= size && opened.find('\0') == std::string::npos);
  require(pswDecrypt(pswEncrypt(opened)) == opened);

  // The first bytes select a key of any length and the mode; the rest is binary input.
  if (size < 2) return 0;
  const int key_length = std::min(data[0] % 40, static_cast<int>(size));
  const int rest = static_cast<int>(size) - key_length;
  const std::string other = pswDecryptEx(text, data, key_length);
  require(pswDecryptEx(pswEncryptEx(other, data, key_length), data, key_length) == other || key_length % 8 != 0 ||
          key_length < 16);
  std::vector<unsigned char> bytes(data + key_length, data + size);
  const auto plain = aesEncrypt(data, key_length).Decrypt(bytes.data(), rest, static_cast<PaddingMode>(data[1] % 6));
  require(plain.size() <= bytes.size());
  const size_t whole = pswDecryptEx(bytes.data(), rest, data, key_length).size();
  require(whole == 0 || whole == bytes.size());
  return 0;
}
