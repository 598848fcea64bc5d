#include "zarlib/crypto/password.h"

#include "zarlib/crypto/aes.h"
#include "zarlib/crypto/aes_path.h"
#include "zarlib/crypto/default_key.h"
#include "zarlib/crypto/rc4.h"
#include "zarlib/crypto/wipe.h"
#include "zarlib/text/codecs.h"

#include <algorithm>
#include <climits>

namespace {

using bytes = std::vector<unsigned char>;

/// The most bytes in whole blocks that an int can count.
constexpr size_t most_bytes = INT_MAX / zar::aes_block * zar::aes_block;

/// The state for the default key is constant, so it is computed at compile time.
constexpr zar::rc4 default_stream(zar::default_key, zar::default_key_length);

void run_stream(unsigned char *data, size_t size, const unsigned char *key, int key_length) {
  zar::rc4 stream = key && key_length > 0 ? zar::rc4(key, key_length) : default_stream;
  stream.apply(data, size);
  zar::wipe(&stream, sizeof stream);
}

int length(const bytes &data) { return static_cast<int>(data.size()); }

bytes seal(const unsigned char *data, int size, const unsigned char *key, int key_length) {
  bytes sealed = aesEncrypt(key, key_length).Encrypt(data, size, PaddingZeros);
  run_stream(sealed.data(), sealed.size(), key, key_length);
  return sealed;
}

std::string seal_text(const std::string &plain, const unsigned char *key, int key_length) {
  if (plain.size() > most_bytes) return {};
  const auto *data = reinterpret_cast<const unsigned char *>(plain.data());
  const bytes sealed = seal(data, static_cast<int>(plain.size()), key, key_length);
  return zarBin2Base64(sealed.data(), length(sealed));
}

std::string open_text(const std::string &text, const unsigned char *key, int key_length) {
  bytes opened = zarBase642Bin(text);
  if (opened.size() > most_bytes) return {};
  // Settled, callers rely on it: what cannot be an envelope is returned as decoded.
  if (opened.size() % zar::aes_block == 0) opened = pswDecryptEx(opened.data(), length(opened), key, key_length);
  std::string plain(opened.begin(), std::find(opened.begin(), opened.end(), 0));
  zar::wipe(opened.data(), opened.size());
  return plain;
}

} // namespace

std::string pswEncrypt(const std::string &plain) { return seal_text(plain, nullptr, 0); }

std::string pswDecrypt(const std::string &text) { return open_text(text, nullptr, 0); }

std::string pswEncryptEx(const std::string &plain, const unsigned char *key, int keyLength) {
  return key && keyLength > 0 ? seal_text(plain, key, keyLength) : std::string();
}

std::string pswDecryptEx(const std::string &text, const unsigned char *key, int keyLength) {
  return key && keyLength > 0 ? open_text(text, key, keyLength) : std::string();
}

bytes pswEncryptEx(unsigned char *data, int size, const unsigned char *key, int keyLength) {
  return seal(data, size, key, keyLength);
}

bytes pswDecryptEx(unsigned char *data, int size, const unsigned char *key, int keyLength) {
  // Settled, callers rely on it: the RC4 stream is removed in place, in the caller's buffer.
  run_stream(data, static_cast<size_t>(std::max(size, 0)), key, keyLength);
  return aesEncrypt(key, keyLength).Decrypt(data, size, PaddingZeros);
}
