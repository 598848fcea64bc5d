#include "zarlib/xml/xml_escape.h"

#include "zarlib/xml/entities.h"

std::string xmlText2XMLPhrase(const std::string &text) {
  std::string phrase;
  phrase.reserve(zar::xml_escaped_size(text));
  zar::xml_escape(text, [&](std::string_view piece) { phrase.append(piece); });
  return phrase;
}

std::string xmlXMLPhrase2Text(const std::string &phrase) { return zar::xml_decoded(phrase); }
