#include "zarlib/xml/entities.h"

#include <algorithm>

namespace zar {

namespace {

/// The character whose entity `phrase` starts with, or 0.
char character_at(std::string_view phrase) {
  for (const char c : {'\'', '"', '<', '>', '&'})
    if (phrase.substr(0, xml_entity(c).size()) == xml_entity(c)) return c;
  return '\0';
}

} // namespace

// Equivalent to replacing one kind of entity after another in the whole text, the ampersand's last: the only character
// in an entity that another decodes to is the ampersand, and what "&amp;" yields is not scanned again.
char *xml_decode_to(std::string_view phrase, char *place) {
  for (;;) {
    const size_t plain = std::min(phrase.find('&'), phrase.size());
    place = std::copy(phrase.data(), phrase.data() + plain, place);
    if (plain == phrase.size()) return place;
    phrase.remove_prefix(plain);
    const char found = character_at(phrase);
    *place++ = found ? found : '&';
    phrase.remove_prefix(found ? xml_entity(found).size() : 1);
  }
}

std::string xml_decoded(std::string_view phrase) {
  std::string text(phrase.size(), '\0');
  text.resize(static_cast<size_t>(xml_decode_to(phrase, text.data()) - text.data()));
  return text;
}

} // namespace zar
