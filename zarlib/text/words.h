// Comparing texts and splitting them into fields.
//
// Texts are bytes. Quotes and escapes have no meaning here: a quoted space separates like any other. All functions are
// re-entrant.
#pragma once

#include "zarlib/export.h"

#include <string>
#include <vector>

/// @return Whether the texts are byte-identical.
ZAR_API bool sameString(const std::string &a, const std::string &b);
/// Same as sameString(); used for XML keys and tags.
ZAR_API bool sameXmlKeyName(const std::string &a, const std::string &b);
/// @return Whether the texts are equal except for the case of ASCII letters.
ZAR_API bool sameStringNC(const std::string &a, const std::string &b);

/// @return The words separated by white space (space, tab, carriage return, line feed); none is empty.
ZAR_API std::vector<std::string> zarGetWords(const std::string &text);

/// Appends the same words to `out`; `text` may be an element of it.
/// @return The size of `out`, including what it held before.
ZAR_API int zarGetWords(const std::string &text, std::vector<std::string> &out);

/// @return The fields between separators; empty ones are dropped: "a,,b" gives a and b.
ZAR_API std::vector<std::string> zarTextBreak(const std::string &text, char separator);

/// Appends the fields between separators to `out`, of which `text` may be an element, and, unlike the other form, KEEPS
/// empty ones except a last one: "a,,b" gives a, an empty field and b; ",a" an empty field and a; "a," only a; an empty
/// text none.
/// @return The size of `out`, including what it held before.
ZAR_API int zarTextBreak(const std::string &text, char separator, std::vector<std::string> &out);
