// Entities on views of text, for the parser and the serialiser.
#pragma once

#include <string>
#include <string_view>

namespace zar {

/// The entity of a character, empty for one that stands for itself.
std::string_view xml_entity(char c);

/// The length of `text` with entities written.
size_t xml_escaped_size(std::string_view text);

/// The position of the first character from `from` on that has an entity, or the size.
size_t xml_find_escaped(std::string_view text, size_t from);

/// `phrase` with the entities decoded.
std::string xml_decoded(std::string_view phrase);

/// Hands `text` to `put` in pieces, entities written.
template <class Put>
void xml_escape(std::string_view text, Put put) {
  size_t done = 0;
  for (size_t at; (at = xml_find_escaped(text, done)) < text.size(); done = at + 1) {
    if (at > done) put(text.substr(done, at - done));
    put(xml_entity(text[at]));
  }
  if (done < text.size()) put(text.substr(done));
}

} // namespace zar
