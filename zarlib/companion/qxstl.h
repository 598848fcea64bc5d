// qx: string helpers.
//
// Strings are bytes, by convention UTF-8. Where a flag says whether case counts, only the 26 letters of ASCII have case. All
// functions are re-entrant. Separators and sets are taken as they stand; nothing here throws but what std::string throws.
#pragma once

#include "zarlib/export.h"

#include <cstdarg>
#include <string>
#include <vector>

namespace qx {

/// @return 0 when equal under the flag, else negative or positive, by the first differing byte as an unsigned number.
ZAR_API int string_compare(const std::string &a, const std::string &b, bool caseSensitive);

/// The same order on a std::string and a terminated text, as strcmp answers.
ZAR_API int string_diff(const std::string &a, const char *b, bool caseSensitive);
ZAR_API int string_diff(const char *a, const std::string &b, bool caseSensitive);

/// The same on two terminated texts.
ZAR_API int qx_strcmp(const char *a, const char *b, bool caseSensitive);

/// Looks for several tokens at once, in one pass that ends at the first match; an empty token occurs nowhere.
/// @param index  Receives the index of the token found, the earliest in `tokens` where several stand at that place; left as it
///               is when none occurs.
/// @return The smallest position at which any token occurs, or -1.
ZAR_API int string_find_first_one_of(const std::string &text, const std::vector<std::string> &tokens, int &index);

/// Cuts at the first `separator`: `left` receives what is before it, `right` what is after it; each may be `text` itself.
/// @return The separator's position. Without one -1, and `left` is the whole text, `right` empty.
ZAR_API int string_slice2(const std::string &text, const std::string &separator, std::string &left, std::string &right);

/// @return The terminated texts of the list, up to a terminating null pointer.
ZAR_API std::vector<std::string> stringarray_builder_by_token(const char *first, ...);

/// Take from the named ends of `text`, in place, all characters that stand in `set`.
ZAR_API void trim_left(std::string &text, const std::string &set);
ZAR_API void trim_right(std::string &text, const std::string &set);
ZAR_API void trim_both(std::string &text, const std::string &set);

/// Replaces every occurrence of `from`, left to right, in place; what was put in is not looked at again. An empty `from`
/// changes nothing. Linear in the text.
ZAR_API void string_replace(std::string &text, const std::string &from, const std::string &to);

/// Fills `text` with the characters `first` to `last`, both included.
ZAR_API void string_builder_by_char(std::string &text, char first, char last);

/// Fills `text` with `count` such ranges, whose bounds stand in `pairs` one after another.
ZAR_API void string_builder_by_range(std::string &text, const char *pairs, int count);

/// @return Whether every byte is below 128.
ZAR_API bool string_is_ascii_string(const std::string &text);

/// UTF-8 to the wide text of the target: UTF-16 where wchar_t has 16 bits, else one code point each. Bytes that are not UTF-8
/// become U+FFFD.
ZAR_API std::wstring string_utf8_to_wstring(const std::string &text);

/// The way back; it stops at a first NUL. Surrogate pairs are joined on both targets; a lone one becomes U+FFFD.
ZAR_API std::string string_wstring_to_utf8(const std::wstring &text);

/// printf-style formatting into a text of any length.
ZAR_API std::string format_astring(const char *format, ...) ZAR_PRINTF(1, 2);

/// The same with a started list; replaces `text`. @return The length, or -1 for a format that cannot be used; `text` is empty then.
ZAR_API int format_string_v(std::string &text, const char *format, va_list args);

/// Decimal text to int: blanks, a sign, digits; what follows is ignored. No digits give 0; what does not fit gives the nearest
/// int.
ZAR_API int string_to_int(const std::string &text);

/// Between the system's narrow encoding and UTF-8.
/// @param codePage  Empty means the system's default (the ANSI code page; on Linux the locale's, where UTF-8 passes
///                  unchanged); else a code page number on Windows, an iconv name on Linux. With anything else the text
///                  comes back as it is.
ZAR_API std::string string_ascii_to_utf8(const std::string &text, const std::string &codePage);
ZAR_API std::string string_utf8_to_ascii(const std::string &text, const std::string &codePage);

} // namespace qx
