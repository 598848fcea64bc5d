// Comparing texts and splitting them into fields.
//
// Texts are bytes. Quotes and escapes have no meaning here: a quoted blank separates like any other. All functions are
// re-entrant.
#pragma once

#include "zarlib/export.h"

#include <string>
#include <vector>

/// @return Whether the texts are the same bytes.
ZAR_API bool sameString(const std::string &a, const std::string &b);
/// sameString() under another name: keys and tags of XML are compared so.
ZAR_API bool sameXmlKeyName(const std::string &a, const std::string &b);
/// @return Whether the texts are the same but for the case of the 26 letters of ASCII.
ZAR_API bool sameStringNC(const std::string &a, const std::string &b);

/// @return The words between white space (blank, tab, carriage return, line feed); none of them is empty.
ZAR_API std::vector<std::string> zarGetWords(const std::string &text);

/// Appends the same words to `out`, of which `text` may be an element.
/// @return The size of `out`, what it held before included.
ZAR_API int zarGetWords(const std::string &text, std::vector<std::string> &out);

/// @return The fields between `separator`; empty ones are dropped: "a,,b" gives a and b.
ZAR_API std::vector<std::string> zarTextBreak(const std::string &text, char separator);

/// Appends the fields between `separator` to `out`, of which `text` may be an element, and, unlike the other form, KEEPS
/// empty ones but for a last one: "a,,b" gives a, an empty field and b; ",a" an empty field and a; "a," a alone; an
/// empty text none.
/// @return The size of `out`, what it held before included.
ZAR_API int zarTextBreak(const std::string &text, char separator, std::vector<std::string> &out);
