// Conversions between wide and narrow text, case, and extracting part of a text by a regular expression.
#pragma once

#include "zarlib/export.h"

#include <string>

/// @return The NUL-terminated wide text in UTF-8; a lone surrogate becomes U+FFFD. A null pointer gives an empty text.
ZAR_API std::string ConvertLPWSTRToString(wchar_t *text);
/// The same for constant text.
ZAR_API std::string ConvertLPCWSTRToString(const wchar_t *text);

/// The text in the narrow encoding of the user's locale, which is not always UTF-8.
///
/// For a non-empty text this SETS THE LOCALE of the whole process to the user's (LC_ALL) and leaves it set: the decimal
/// point of printf() and the like may change. For UTF-8 without that side effect use ConvertLPCWSTRToString().
/// @return The text up to the first NUL or the first character that the encoding cannot represent.
ZAR_API std::string Wstring2StringWin(const std::wstring &text);

/// @return The text with the locale's tolower() applied to every byte.
ZAR_API std::string String2Lower(std::string text);

/// @return Whether every byte is below 128.
ZAR_API bool zarIsAssicString(const std::string &text);

/// Replaces `text` by what group 1 of the first match captured; an unmatched group gives an empty text. Without a
/// match, or if the pattern has no groups, `text` is unchanged.
/// @param pattern  A regular expression in ECMAScript grammar. One that does not compile throws std::regex_error.
/// REQUIRES: a text of moderate length: the standard library's matcher recurses, for some patterns once per byte.
ZAR_API void RegexString(std::string &text, const char *pattern);
