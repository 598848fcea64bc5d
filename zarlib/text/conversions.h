// Conversions between wide and narrow text, case, and picking a part of a text by a regular expression.
#pragma once

#include "zarlib/export.h"

#include <string>

/// @return The terminated wide text in UTF-8; a lone surrogate becomes U+FFFD. A null pointer gives an empty text.
ZAR_API std::string ConvertLPWSTRToString(wchar_t *text);
/// The same for constant text.
ZAR_API std::string ConvertLPCWSTRToString(const wchar_t *text);

/// The text in the narrow encoding of the user's locale, which is not UTF-8 everywhere.
///
/// For a text that is not empty this SETS THE LOCALE of the whole process to the user's (LC_ALL), and leaves it so:
/// decimal points of printf and the like may change. For UTF-8 and no such effect take ConvertLPCWSTRToString().
/// @return The text up to the first NUL or the first character that the encoding does not have.
ZAR_API std::string Wstring2StringWin(const std::wstring &text);

/// @return The text with the locale's tolower() applied to every byte.
ZAR_API std::string String2Lower(std::string text);

/// @return Whether every byte is below 128.
ZAR_API bool zarIsAssicString(const std::string &text);

/// Replaces `text` by what group 1 of the first match holds: nothing, where the group took no part.
/// Without a match, or with a pattern without groups, `text` stays as it is.
/// @param pattern  A regular expression of the ECMAScript grammar. One that does not compile throws std::regex_error.
/// REQUIRES: a text of moderate length: the standard library's matcher recurses, for some patterns once per byte.
ZAR_API void RegexString(std::string &text, const char *pattern);
