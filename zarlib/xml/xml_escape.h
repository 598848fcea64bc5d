// The five entities of XML text.
#pragma once

#include "zarlib/export.h"

#include <string>

/// Writes quotes of both kinds, "&", "<" and ">" as entities. Every other byte is copied, control bytes and those above
/// 127 included. One pass.
ZAR_API std::string xmlText2XMLPhrase(const std::string &text);

/// Decodes "&apos;", "&quot;", "&lt;", "&gt;" and "&amp;", each once: "&amp;lt;" gives "&lt;". Anything else that
/// begins with an ampersand, numeric references included, stays as it is. One pass.
ZAR_API std::string xmlXMLPhrase2Text(const std::string &phrase);
