// Bytes as quoted text.
//
// The two directions are not inverses: what toQuotaString() writes has no opening quote, and fromQuotaString() rejects
// it; nor do the two agree on the meaning of a hexadecimal escape. Files and peers hold both forms, so neither changes.
// For a round trip use the codecs of text/codecs.h.
#pragma once

#include "zarlib/export.h"

#include <string>

/// Writes bytes with escapes, after a fixed prefix of 34 bytes of value 1 and without an opening quote; a closing quote
/// ends the text. Tab, line feed and carriage return become `\t`, `\n` and `\r`; a quote or backslash is preceded by a
/// backslash; bytes from 32 to 127 are unchanged; any other becomes `\x` and two upper-case hexadecimal digits.
/// @param length  Bytes at `data`; 0 or less means none.
ZAR_API std::string toQuotaString(const void *data, int length);

/// Decodes a quoted text and appends the result to `out`.
///
/// `\n`, `\r` and `\t` are the control characters. A hexadecimal escape, `\x` or `\X` with one or two digits, appends
/// its value as DECIMAL TEXT: `\x41` appends the two characters 65. Without a digit it appends nothing. Any other
/// escaped byte stands for itself.
/// @param quoted  Starts with a quote; what follows the closing one is ignored.
/// @return The index of the closing quote. 0 when the text has no opening or no closing quote; what was decoded up to
///         then stays in `out`.
ZAR_API int fromQuotaString(const std::string &quoted, std::string &out);
