// Binary data as printable text and back: three hexadecimal forms, Base64 (RFC 4648, section 4), and bit and byte
// order.
//
// Stateless free functions: any thread may call them at any time, even before main and during exit. The decoders never
// fail, they skip what they cannot read; nothing is thrown except when memory runs out. Time is linear in the size, a
// result is allocated once, and long inputs use the widest vector instructions that the processor has.
//
// Which function reads which text:
//
//   | text    | zarBase162Bin | zarText2Bin | fetchBytesFromBase16, size 2  |
//   |---------|---------------|-------------|-------------------------------|
//   | "0A1B"  | 0A 1B         | 0A 1B       | 0A 1B                         |
//   | "0A 1B "| 0A 1B         | 0A 1B       | refused: not four characters  |
//   | "A B "  | AB            | 0A 0B       | FF FF: each space counts 255  |
//   | "ABC"   | AB 0C         | AB          | refused                       |
#pragma once

#include "zarlib/export.h"

#include <string>
#include <vector>

/// @return Two digits (0 to 9, A to F) per byte without separators; empty for a size below 1.
/// REQUIRES: `size` readable bytes at `data`, here and below.
ZAR_API std::string zarBin2Base16(const void *data, int size);

/// @return Two digits as above and a space for each byte, the last one included: 0x0A 0x1B gives "0A 1B ". Empty for a
///         size below 1.
ZAR_API std::string zarBin2Text(const void *data, int size);

/// @return Base64 with padding and without line breaks, whatever the length; empty for a size below 1.
ZAR_API std::string zarBin2Base64(const void *data, int size);

/// Reads hexadecimal digits in pairs, high half first. Any other character is skipped, even inside a pair. A last digit
/// without a partner gives a byte of its own value.
ZAR_API std::vector<unsigned char> zarBase162Bin(const std::string &text);

/// Reads the output of zarBin2Text(). A non-digit ends a pair: the pending digit gives a byte of its own value. An
/// unpaired digit at the very end of the text is dropped.
ZAR_API std::vector<unsigned char> zarText2Bin(const std::string &text);

/// Reads Base64 up to the first "=", wherever it is. Characters outside the alphabet are skipped, line breaks and
/// spaces included. In an incomplete last group, 2 characters give one byte, 3 give two and 1 gives nothing.
ZAR_API std::vector<unsigned char> zarBase642Bin(const std::string &text);

/// Reads exactly `size` bytes from exactly `2 * size` characters. No character is refused: a non-digit counts as the
/// 255 of zarA2HEX(), so a bad second digit gives 0xFF, and a bad first one 0xF0 combined with the second.
/// @return False for a text of any other length; nothing is written then.
/// REQUIRES: room for `size` bytes at `out`.
ZAR_API bool fetchBytesFromBase16(const std::string &text, void *out, int size);

/// @return The value of a hexadecimal digit of either case, 0 to 15; 255 for anything else.
ZAR_API unsigned char zarA2HEX(char digit);

/// @return The 8 bits in reverse order: bit 0 becomes bit 7, and so on.
ZAR_API unsigned char zarSwap8Bit(unsigned char value);

/// Reverses `size` bytes in place; a size below 2 does nothing.
ZAR_API void zarSwapBytes(void *data, int size);
