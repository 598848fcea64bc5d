// The envelope of stored passwords: it keeps a password from being read over a shoulder, and protects nothing against someone
// who has the program.
//
// A short text becomes printable text and back: AES (FIPS 197, block by block, filled up with zeros), then RC4 with the same
// key over all of it, then Base64; docs/formats/password-envelope.md has the bytes. There is no salt and no check: equal texts
// give equal envelopes, a changed envelope or a wrong key gives other text and no failure. pswEncrypt() and pswDecrypt() use a
// key that everyone who has the library knows.
//
// A key of your own makes the envelope worth as much as the place where you keep that key, so keep it outside of the program
// and of the file that holds the envelope, where only the user may read it:
//
//   std::vector<unsigned char> key = ...;   // 32 random bytes, made once: /dev/urandom, BCryptGenRandom
//   settings.SetOption("password", pswEncryptEx(password, key.data(), 32));
//   password = pswDecryptEx(settings.GetOption("password", ""), key.data(), 32);
//
// A password that need not be read back is not stored at all: keep a slow salted hash of it. Where the system has a key ring,
// that is the better place.
//
// All functions may be called from any thread; all state is local to the call, and what held the key is wiped. A short text
// costs less than a microsecond with a key of one's own, most of it RC4's key, and a fraction of that with the default key.
#pragma once

#include "zarlib/export.h"

#include <string>
#include <vector>

/// @return The envelope with the default key; empty for an empty text.
ZAR_API std::string pswEncrypt(const std::string &plain);

/// The way back, as pswDecryptEx() with the default key.
ZAR_API std::string pswDecrypt(const std::string &text);

/// @param plain      Any bytes but zeros: the text ends at its first zero byte when it comes back.
/// @param keyLength  16, 24 or 32 bytes.
/// @return The envelope: four characters for every three bytes of the text's length rounded up to 16. Empty for an empty text
///         or one of 2147483633 bytes or more, without a key, and for another length of key.
ZAR_API std::string pswEncryptEx(const std::string &plain, const unsigned char *key, int keyLength);

/// Opens an envelope.
/// @return The text up to its first zero byte. A text that cannot be an envelope, since it does not decode to whole blocks,
///         comes back as its Base64 decoding, up to the first zero byte of that: "QUJD" gives "ABC". Empty for an empty text,
///         without a key, and for an envelope with another length of key.
ZAR_API std::string pswDecryptEx(const std::string &text, const unsigned char *key, int keyLength);

/// The binary form, without Base64. `data` is not changed.
/// @param key  Null stands for the default key, whatever `keyLength` is.
/// @return `size` rounded up to 16 bytes; empty for a size below 1, and for a key whose length is not 16, 24 or 32.
ZAR_API std::vector<unsigned char> pswEncryptEx(unsigned char *data, int size, const unsigned char *key, int keyLength);

/// Opens the binary form. `data` is CHANGED: it holds the inner stage afterwards, the text enciphered by AES alone.
/// @param key  Null stands for the default key, whatever `keyLength` is.
/// @return `size` bytes, the zeros at the end still in it; empty for a size below 1, and for a key whose length is not 16, 24
///         or 32.
/// REQUIRES: a `size` in whole blocks of 16. Bytes behind them pass RC4 only.
ZAR_API std::vector<unsigned char> pswDecryptEx(unsigned char *data, int size, const unsigned char *key, int keyLength);
