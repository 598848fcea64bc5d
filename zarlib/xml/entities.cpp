#include "zarlib/xml/entities.h"

#include <array>

namespace zar {

namespace {

struct entity {
  char character;
  std::string_view phrase;
};

constexpr entity entities[] = {{'\'', "&apos;"}, {'"', "&quot;"}, {'<', "&lt;"}, {'>', "&gt;"}, {'&', "&amp;"}};

/// What each byte adds to a text's length when it is written as an entity.
constexpr auto growth = [] {
  std::array<unsigned char, 256> table{};
  for (const entity &e : entities)
    table[static_cast<unsigned char>(e.character)] = static_cast<unsigned char>(e.phrase.size() - 1);
  return table;
}();

unsigned char growth_of(char c) { return growth[static_cast<unsigned char>(c)]; }

/// The entity at the start of `phrase`, or null.
const entity *entity_at(std::string_view phrase) {
  for (const entity &e : entities)
    if (phrase.substr(0, e.phrase.size()) == e.phrase) return &e;
  return nullptr;
}

} // namespace

std::string_view xml_entity(char c) {
  for (const entity &e : entities)
    if (e.character == c) return e.phrase;
  return {};
}

size_t xml_escaped_size(std::string_view text) {
  size_t size = text.size();
  for (const char c : text) size += growth_of(c);
  return size;
}

size_t xml_find_escaped(std::string_view text, size_t from) {
  while (from < text.size() && growth_of(text[from]) == 0) ++from;
  return from;
}

// Replacing one entity after another in the whole text, the ampersand's last, gives the same: no entity holds a character that
// another one decodes to, but for the ampersand, and what that one yields is not looked at again.
std::string xml_decoded(std::string_view phrase) {
  std::string text;
  text.reserve(phrase.size());
  for (;;) {
    const size_t at = phrase.find('&');
    text.append(phrase.substr(0, at));
    if (at == std::string_view::npos) return text;
    phrase.remove_prefix(at);
    const entity *const found = entity_at(phrase);
    text += found ? found->character : '&';
    phrase.remove_prefix(found ? found->phrase.size() : 1);
  }
}

} // namespace zar
