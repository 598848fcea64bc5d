// aesEncrypt: the block cipher AES (FIPS 197) in ECB mode, with four kinds of padding.
//
// Each 16-byte block is enciphered on its own (electronic code book, NIST SP 800-38A): equal blocks of plain text give
// equal blocks of cipher text, and tampering goes undetected. For new formats use an authenticated cipher from a
// dedicated library; this one is for data that already has this form.
//
// Cost: the processor's AES instructions are used where available, up to 32 blocks at a time; the time is then
// independent of key and data. Otherwise a portable implementation processes 8 blocks at a time with shifts and
// logic only: no table look-ups and no secret-dependent branches, so it does not leak through the cache either.
// There a single block costs as much as eight. Setting a key takes tens of nanoseconds with instructions, about a
// microsecond without.
#pragma once

#include "zarlib/export.h"

#include <vector>

/// How the last block is padded. Other values are accepted: they add as many bytes as the first three, all zero.
enum PaddingMode : int {
  PaddingISO10126 =
      1, ///< low bytes of zarGetTickCount(), read anew for each; the last byte is the count of padding bytes
  PaddingANSIX923 = 2, ///< zeros; the last byte is the count
  PaddingPKCS7 = 3,    ///< every byte is the count
  PaddingZeros = 4,    ///< zeros; nothing is added to whole blocks, and Decrypt() removes nothing
};

/// A key, ready for use. A plain value of 244 bytes: copies carry the key, and the destructor wipes it.
///
/// Encrypt() and Decrypt() do not modify the object: once its key is set, any number of threads may use it.
class ZAR_API aesEncrypt {
public:
  /// @param key  Null selects the default key, which everyone who has the library knows; else as in SetKey().
  aesEncrypt(const unsigned char *key = nullptr, int keyLength = 0);
  aesEncrypt(const aesEncrypt &) = default;
  aesEncrypt &operator=(const aesEncrypt &) = default;
  ~aesEncrypt();

  /// Replaces the key.
  /// @param keyLength  16, 24 or 32. With any other length, or a null key, nothing is read, the previous key is wiped,
  ///                   and Encrypt() and Decrypt() return an empty vector until the next SetKey().
  /// REQUIRES: `keyLength` readable bytes at `key`.
  void SetKey(const unsigned char *key, int keyLength);

  /// Enciphers `size` bytes and their padding.
  /// @param size  0 gives one block of padding, or nothing with PaddingZeros; a negative size gives nothing.
  /// @return With PaddingZeros `size` rounded up to whole blocks; else 1 to 16 bytes more than `size`.
  ///         Empty without a key.
  /// REQUIRES: `size` readable bytes at `data`.
  std::vector<unsigned char> Encrypt(const unsigned char *data, int size, PaddingMode mode) const;

  /// Deciphers, and removes as many bytes from the end as the last byte says, without checking them; a last byte above
  /// 16 removes nothing. There is no failure: a wrong key or damaged data shows only as wrong bytes.
  /// @param mode  PaddingZeros removes nothing; all other modes are the same here.
  /// @return Up to `size` bytes. Empty without a key and for a size below 1.
  /// REQUIRES: `size` readable bytes at `data`, a multiple of 16. A remainder after the whole blocks is not deciphered.
  std::vector<unsigned char> Decrypt(const unsigned char *data, int size, PaddingMode mode) const;

private:
  unsigned char m_schedule[240]; ///< in the order of FIPS 197: the key itself, then its expansion
  int m_scheduleSize;            ///< bytes in use: 176, 208 or 240; 0 without a key
};
