// Single characters, character tables, and iterating over UTF-8.
//
// Nothing here consults a locale, keeps state or fails; any thread may call it at any time, even before main and
// during exit.
#pragma once

#include "zarlib/export.h"

#include <string>

/// @return Non-zero for a to z and A to Z only.
ZAR_API int chIsAlpha(int c);
/// @return Non-zero for 0 to 9 only.
ZAR_API int chIsDigit(int c);
/// @return Non-zero for space, tab, carriage return and line feed only.
ZAR_API int chIsWhiteSpace(int c);
/// @return Non-zero for slash and backslash; only the low byte of `c` is examined.
ZAR_API int chIsPathSeparator(int c);

/// ASCII letters to lower case, to upper case, and to the opposite case; any other value is returned unchanged.
ZAR_API int chLower(int c);
ZAR_API int chUpper(int c);
ZAR_API int chReverse(int c);

/// Constant tables, built on first use and never destroyed.
ZAR_API const std::string &getTabAlphaLower();    ///< a to z
ZAR_API const std::string &getTabAlphaUpper();    ///< A to Z
ZAR_API const std::string &getTabAlphaAll();      ///< a to z, then A to Z
ZAR_API const std::string &getTabDigit10();       ///< 0 to 9
ZAR_API const std::string &getTabDigit16();       ///< 0 to 9, a to f, A to F
ZAR_API const std::string &getTabPathSeparator(); ///< slash, backslash
ZAR_API const std::string &getTabWhiteSpace();    ///< space, tab, carriage return, line feed

// UTF-8. Only sequences of one, two and three bytes are recognised, which covers 16 bits; each byte of a four-byte
// sequence counts as a character. Continuation bytes are not validated.

/// @return The position of the next character; null when `*p` is the terminating NUL.
/// REQUIRES: NUL-terminated, well-formed text: a truncated sequence at the end would step over the terminator.
ZAR_API const char *chUTF8Inc(const char *p);

/// @return The position of the character before `p`; null when `p` is not after `begin`, or only continuation bytes lie
///         between them.
ZAR_API const char *chUTF8Dec(const char *begin, const char *p);

/// Decodes the character at `p` and advances `p` past it.
/// @return The character; a question mark, one byte long, for a byte that starts no recognised sequence.
/// REQUIRES: NUL-terminated, well-formed text, as for chUTF8Inc().
ZAR_API wchar_t chUTF8Word(const char *&p);

/// Decodes the first character of `s` without reading past its end.
/// @return The character; 0 for an empty text; a question mark for an unrecognised or truncated sequence.
ZAR_API wchar_t chUTF8Word(const std::string &s);

/// Decodes the first character of `s` as above, then APPENDS one byte to `s`: the number of bytes decoded, 0 to 3.
/// Nothing is removed from `s`; to iterate over a text use the pointer overloads.
/// @return The character.
ZAR_API wchar_t chUTF8Inc(std::string &s);
