// Entities on views of text, for the parser and the serialiser.
#pragma once

#include "zarlib/xml/words.h"

#include <string>
#include <string_view>

namespace zar {

/// The entity of a character, empty for one that stands for itself.
constexpr std::string_view xml_entity(char c) {
  switch (c) {
  case '\'':
    return "&apos;";
  case '"':
    return "&quot;";
  case '<':
    return "&lt;";
  case '>':
    return "&gt;";
  case '&':
    return "&amp;";
  default:
    return {};
  }
}

/// `phrase` with the entities decoded.
std::string xml_decoded(std::string_view phrase);

/// Writes `phrase` decoded, which makes it no longer. @return The end of what was written.
char *xml_decode_to(std::string_view phrase, char *place);

/// Whether any of a word's bytes is an ampersand.
constexpr bool xml_word_has_ampersand(std::uint64_t word) { return zero_bytes(word ^ in_each_byte('&')) != 0; }

/// Whether any of a word's bytes has an entity. Two pairs of the five characters differ in one bit only.
constexpr bool xml_word_has_entity(std::uint64_t word) {
  static_assert(('&' | 1) == '\'' && ('<' | 2) == '>');
  return (zero_bytes((word | in_each_byte(1)) ^ in_each_byte('\'')) |
          zero_bytes((word | in_each_byte(2)) ^ in_each_byte('>')) | zero_bytes(word ^ in_each_byte('"'))) != 0;
}

/// Copies from the start of `text` what stands for itself, up to the first character that has an entity.
/// @return How many characters.
inline size_t xml_copy_plain(std::string_view text, char *place) {
  const char *const from = text.data();
  const size_t size = text.size();
  size_t done = 0;
  for (; size - done > 16; done += 8) {
    const auto word = load_word<std::uint64_t>(from + done);
    if (xml_word_has_entity(word)) break;
    store_word(place + done, word);
  }
  if (size - done <= 16 && size - done >= 4 &&
      copy_in_two_words(from + done, size - done, place + done, xml_word_has_entity))
    return size;
  for (; done < size && xml_entity(from[done]).empty(); ++done) place[done] = from[done];
  return done;
}

} // namespace zar
