// The five predefined entities of XML.
#pragma once

#include "zarlib/export.h"

#include <string>

/// Replaces both kinds of quotes, "&", "<" and ">" by entities. Every other byte is copied, including control bytes and
/// those above 127. One pass.
ZAR_API std::string xmlText2XMLPhrase(const std::string &text);

/// Decodes "&apos;", "&quot;", "&lt;", "&gt;" and "&amp;", each once: "&amp;lt;" gives "&lt;". Anything else that
/// starts with an ampersand, including numeric references, is left unchanged. One pass.
ZAR_API std::string xmlXMLPhrase2Text(const std::string &phrase);
