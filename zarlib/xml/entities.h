// Encoding and decoding entities in string views, for the parser and the serialiser.
#pragma once

#include "zarlib/xml/words.h"

#include <string>
#include <string_view>

namespace zar {

/// The entity of a character; empty if it needs none.
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

/// `phrase` with entities decoded.
std::string xml_decoded(std::string_view phrase);

/// Writes `phrase` decoded, which never makes it longer. @return The end of the output.
char *xml_decode_to(std::string_view phrase, char *place);

/// Whether any byte of a word is an ampersand.
constexpr bool xml_word_has_ampersand(std::uint64_t word) { return zero_bytes(word ^ in_each_byte('&')) != 0; }

/// Whether any byte of a word has an entity. Two pairs of the five characters each differ in a single bit.
constexpr bool xml_word_has_entity(std::uint64_t word) {
  static_assert(('&' | 1) == '\'' && ('<' | 2) == '>');
  return (zero_bytes((word | in_each_byte(1)) ^ in_each_byte('\'')) |
          zero_bytes((word | in_each_byte(2)) ^ in_each_byte('>')) | zero_bytes(word ^ in_each_byte('"'))) != 0;
}

/// Copies the start of `text` up to the first character that has an entity.
/// @return The number of characters copied.
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
