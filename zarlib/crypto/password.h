// The envelope of stored passwords: it keeps a password from being read over a shoulder, but is no protection against
// someone who has the program.
//
// Converts a short text to printable text and back: AES (FIPS 197 in ECB mode, zero-padded), then RC4 with the same key
// over all of it, then Base64; docs/formats/password-envelope.md has the bytes. There is no salt and no integrity
// check: equal texts give equal envelopes, and a modified envelope or a wrong key gives other text and no failure.
// pswEncrypt() and pswDecrypt() use a key that everyone who has the library knows.
//
// With a key of your own, the envelope is as safe as the place where you keep that key; so keep it outside the program
// and the file that holds the envelope, where only the user may read it:
//
//   std::vector<unsigned char> key = ...;   // 32 random bytes, made once: /dev/urandom, BCryptGenRandom
//   settings.SetOption("password", pswEncryptEx(password, key.data(), 32));
//   password = pswDecryptEx(settings.GetOption("password", ""), key.data(), 32);
//
// Do not store a password that need not be read back: keep a slow salted hash of it. Where the system has a
// key ring, prefer that.
//
// All functions may be called from any thread; all state is local to the call, and key material is wiped. A short
// text costs less than a microsecond with a key of your own, most of it for RC4's key set-up, and a fraction of
// that with the default key.
#pragma once

#include "zarlib/export.h"

#include <string>
#include <vector>

/// @return The envelope with the default key; empty for an empty text.
ZAR_API std::string pswEncrypt(const std::string &plain);

/// The inverse: pswDecryptEx() with the default key.
ZAR_API std::string pswDecrypt(const std::string &text);

/// @param plain      Any bytes but zeros: decrypting ends the text at its first zero byte.
/// @param keyLength  16, 24 or 32 bytes.
/// @return The envelope: four characters per three bytes, or part of three, of the text's length rounded up to 16.
///         Empty for an empty text or one of 2147483633 bytes or more, without a key, and for any other key length.
ZAR_API std::string pswEncryptEx(const std::string &plain, const unsigned char *key, int keyLength);

/// Opens an envelope.
/// @return The text up to its first zero byte. A text that cannot be an envelope, as it does not decode to whole
///         blocks, comes back as its Base64 decoding, up to the first zero byte of that: "QUJD" gives "ABC". Empty for
///         an empty text, without a key, and for an envelope with any other key length.
ZAR_API std::string pswDecryptEx(const std::string &text, const unsigned char *key, int keyLength);

/// The binary form, without Base64. `data` is not modified.
/// @param key  Null selects the default key, whatever `keyLength` is.
/// @return `size` rounded up to 16 bytes; empty for a size below 1, and for a key length other than 16, 24 or 32.
ZAR_API std::vector<unsigned char> pswEncryptEx(unsigned char *data, int size, const unsigned char *key, int keyLength);

/// Opens the binary form. `data` is MODIFIED: afterwards it holds the inner stage, the text enciphered by AES alone.
/// @param key  Null selects the default key, whatever `keyLength` is.
/// @return `size` bytes, including the zero padding; empty for a size below 1, and for a key length
///         other than 16, 24 or 32.
/// REQUIRES: `size` is a multiple of 16. Bytes after the whole blocks pass through RC4 only.
ZAR_API std::vector<unsigned char> pswDecryptEx(unsigned char *data, int size, const unsigned char *key, int keyLength);
