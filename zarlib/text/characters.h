// Single characters, the character tables, and walking over UTF-8.
//
// Nothing here consults a locale, keeps state or fails; any thread may call it at any time, also before main and during
// exit.
#pragma once

#include "zarlib/export.h"

#include <string>

/// @return Non-zero for a to z and A to Z only.
ZAR_API int chIsAlpha(int c);
/// @return Non-zero for 0 to 9 only.
ZAR_API int chIsDigit(int c);
/// @return Non-zero for blank, tab, carriage return and line feed only.
ZAR_API int chIsWhiteSpace(int c);
/// @return Non-zero for slash and backslash; only the low byte of `c` is looked at.
ZAR_API int chIsPathSeparator(int c);

/// The 26 letters of ASCII in lower case, in upper case, and in the other case; any other value comes back unchanged.
ZAR_API int chLower(int c);
ZAR_API int chUpper(int c);
ZAR_API int chReverse(int c);

/// Constant tables, built at the first call and never destroyed.
ZAR_API const std::string &getTabAlphaLower();    ///< a to z
ZAR_API const std::string &getTabAlphaUpper();    ///< A to Z
ZAR_API const std::string &getTabAlphaAll();      ///< a to z, then A to Z
ZAR_API const std::string &getTabDigit10();       ///< 0 to 9
ZAR_API const std::string &getTabDigit16();       ///< 0 to 9, a to f, A to F
ZAR_API const std::string &getTabPathSeparator(); ///< slash, backslash
ZAR_API const std::string &getTabWhiteSpace();    ///< blank, tab, carriage return, line feed

// UTF-8. Sequences of one, two and three bytes are known, which is what fits 16 bits; each byte of a four-byte sequence
// counts as a character of its own. Continuation bytes are not examined.

/// @return The position of the next character; null when `*p` is the terminating zero.
/// REQUIRES: terminated, well-formed text: a sequence that the end cuts off steps over the terminating zero.
ZAR_API const char *chUTF8Inc(const char *p);

/// @return The position of the character before `p`; null when `p` is not behind `begin`, or only continuation bytes
///         lie between them.
ZAR_API const char *chUTF8Dec(const char *begin, const char *p);

/// Decodes the character at `p` and moves `p` behind it.
/// @return The character; a question mark, one byte long, for a byte that starts no known sequence.
/// REQUIRES: terminated, well-formed text, as for chUTF8Inc().
ZAR_API wchar_t chUTF8Word(const char *&p);

/// Decodes the first character of `s`, with regard to its length.
/// @return The character; 0 for an empty text; a question mark for a sequence that is unknown or cut off.
ZAR_API wchar_t chUTF8Word(const std::string &s);

/// Decodes the first character of `s` as above, then APPENDS to `s` one byte: the number of bytes decoded, 0 to 3.
/// Nothing is taken away from `s`; to walk over a text use the forms on pointers.
/// @return The character.
ZAR_API wchar_t chUTF8Inc(std::string &s);
