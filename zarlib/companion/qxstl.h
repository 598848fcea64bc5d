// qx: string helpers.
//
// Strings are bytes, by convention UTF-8. Case folding, where selected by a flag, covers the 26 ASCII letters only. All
// functions are re-entrant. Separators and sets are taken literally; nothing here throws but what std::string throws.
#pragma once

#include "zarlib/export.h"

#include <cstdarg>
#include <string>
#include <vector>

namespace qx {

/// @return 0 when equal under the flag, else negative or positive, by the first differing byte compared as unsigned.
ZAR_API int string_compare(const std::string &a, const std::string &b, bool caseSensitive);

/// The same for a std::string and a NUL-terminated text, with results like strcmp().
ZAR_API int string_diff(const std::string &a, const char *b, bool caseSensitive);
ZAR_API int string_diff(const char *a, const std::string &b, bool caseSensitive);

/// The same for two NUL-terminated texts.
ZAR_API int qx_strcmp(const char *a, const char *b, bool caseSensitive);

/// Searches for several tokens at once, in one pass that ends at the first match; an empty token never matches.
/// @param index  Receives the index of the token found, the lowest if several match at that position;
///               unchanged when none matches.
/// @return The smallest position at which any token occurs, or -1.
ZAR_API int string_find_first_one_of(const std::string &text, const std::vector<std::string> &tokens, int &index);

/// Splits at the first `separator`: `left` receives what precedes it, `right` what follows it; each
/// may be `text` itself.
/// @return The separator's position. Without one -1; `left` is then the whole text and `right` empty.
ZAR_API int string_slice2(const std::string &text, const std::string &separator, std::string &left, std::string &right);

/// @return The NUL-terminated texts of the list, up to a terminating null pointer.
ZAR_API std::vector<std::string> stringarray_builder_by_token(const char *first, ...);

/// Remove all characters in `set` from the named ends of `text`, in place.
ZAR_API void trim_left(std::string &text, const std::string &set);
ZAR_API void trim_right(std::string &text, const std::string &set);
ZAR_API void trim_both(std::string &text, const std::string &set);

/// Replaces every occurrence of `from`, left to right, in place; replacements are not searched again. An empty `from`
/// changes nothing. Linear in the text.
ZAR_API void string_replace(std::string &text, const std::string &from, const std::string &to);

/// Fills `text` with the characters `first` to `last`, both included.
ZAR_API void string_builder_by_char(std::string &text, char first, char last);

/// Fills `text` with `count` such ranges, whose bounds follow each other in `pairs`.
ZAR_API void string_builder_by_range(std::string &text, const char *pairs, int count);

/// @return Whether every byte is below 128.
ZAR_API bool string_is_ascii_string(const std::string &text);

/// Converts UTF-8 to the target's wide text: UTF-16 where wchar_t has 16 bits, else one code point each. Bytes that are
/// not UTF-8 become U+FFFD.
ZAR_API std::wstring string_utf8_to_wstring(const std::string &text);

/// The inverse; it stops at the first NUL. Surrogate pairs are combined on both targets; a lone
/// surrogate becomes U+FFFD.
ZAR_API std::string string_wstring_to_utf8(const std::wstring &text);

/// printf-style formatting into a text of any length.
ZAR_API std::string format_astring(const char *format, ...) ZAR_PRINTF(1, 2);

/// The same with a va_list; replaces `text`. @return The length, or -1 for an unusable format; `text` is then empty.
ZAR_API int format_string_v(std::string &text, const char *format, va_list args);

/// Decimal text to int: blanks, a sign, digits; the rest is ignored. No digits give 0; a number out of range
/// gives the nearest int.
ZAR_API int string_to_int(const std::string &text);

/// Convert between the system's narrow encoding and UTF-8.
/// @param codePage  Empty selects the system's default (the ANSI code page; on Linux the locale's, where UTF-8 passes
///                  unchanged); else a code page number on Windows, an iconv name on Linux. With anything else the text
///                  is returned unchanged.
ZAR_API std::string string_ascii_to_utf8(const std::string &text, const std::string &codePage);
ZAR_API std::string string_utf8_to_ascii(const std::string &text, const std::string &codePage);

} // namespace qx
