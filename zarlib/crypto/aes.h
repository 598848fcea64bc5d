// aesEncrypt: the block cipher AES (FIPS 197), block by block, with four ways of padding.
//
// Each block of 16 bytes is enciphered on its own (electronic code book, NIST SP 800-38A): equal blocks of plain text give
// equal blocks of cipher text, and nothing tells whether a text was changed on its way. For new formats take a cipher with
// authentication from a library that is made for it; this one is for data that already has this form.
//
// Cost: the processor's own instructions for AES are used where it has them, up to 32 blocks at a time, and the time then does
// not depend on key or data. Without them a portable way works on 8 blocks at a time with shifts and logic only: no table is
// looked up and no branch is taken by a secret, so it does not leak through the cache either. A lone block costs it as much as
// eight. A key costs tens of nanoseconds with instructions, about a microsecond without.
#pragma once

#include "zarlib/export.h"

#include <vector>

/// What fills the last block. Other values are accepted: they add as many bytes as the first three do, all zero.
enum PaddingMode : int {
  PaddingISO10126 =
      1, ///< low bytes of zarGetTickCount(), read anew for each; the last byte is the count of padding bytes
  PaddingANSIX923 = 2, ///< zeros; the last byte is the count
  PaddingPKCS7 = 3,    ///< every byte is the count
  PaddingZeros = 4,    ///< zeros; nothing at all is added to whole blocks, and nothing is taken away by Decrypt()
};

/// A key, ready for use. A plain value of 244 bytes: a copy carries the key, and the destructor wipes it.
///
/// Encrypt() and Decrypt() change nothing in the object: once its key is set, it serves any number of threads.
class ZAR_API aesEncrypt {
public:
  /// @param key  Null stands for the default key, which everyone who has the library knows; else as SetKey().
  aesEncrypt(const unsigned char *key = nullptr, int keyLength = 0);
  aesEncrypt(const aesEncrypt &) = default;
  aesEncrypt &operator=(const aesEncrypt &) = default;
  ~aesEncrypt();

  /// Takes another key in place of the one before.
  /// @param keyLength  16, 24 or 32. With any other length, or without a key, nothing is read, the key before is wiped, and
  ///                   Encrypt() and Decrypt() answer with an empty vector until the next SetKey().
  /// REQUIRES: `keyLength` readable bytes at `key`.
  void SetKey(const unsigned char *key, int keyLength);

  /// Enciphers `size` bytes and their padding.
  /// @param size  0 gives a block of padding, with PaddingZeros nothing; a negative size gives nothing.
  /// @return With PaddingZeros `size` rounded up to whole blocks; else one to 16 bytes more than `size`. Empty without a key.
  /// REQUIRES: `size` readable bytes at `data`.
  std::vector<unsigned char> Encrypt(const unsigned char *data, int size, PaddingMode mode) const;

  /// Deciphers, and takes as many bytes from the end as the last byte says, without looking at them; a last byte above 16
  /// takes nothing away. There is no failure: a wrong key or damaged data shows only as wrong bytes.
  /// @param mode  PaddingZeros leaves the end as it is; all other modes are the same here.
  /// @return Up to `size` bytes. Empty without a key and for a size below 1.
  /// REQUIRES: `size` readable bytes at `data`, a multiple of 16. What is left over behind whole blocks is not deciphered.
  std::vector<unsigned char> Decrypt(const unsigned char *data, int size, PaddingMode mode) const;

private:
  unsigned char m_schedule[240]; ///< in the order of FIPS 197: the key itself, then what it expands to
  int m_scheduleSize;            ///< bytes in use: 176, 208 or 240; 0 without a key
};
