#include "zarlib/xml/xml_escape.h"

#include "zarlib/xml/entities.h"
#include "zarlib/xml/text_sink.h"

std::string xmlText2XMLPhrase(const std::string &text) {
  zar::text_sink phrase;
  phrase.put_escaped(text);
  return phrase.text();
}

std::string xmlXMLPhrase2Text(const std::string &phrase) { return zar::xml_decoded(phrase); }
