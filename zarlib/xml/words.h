// Processing short texts by words instead of bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zar {

constexpr std::uint64_t in_each_byte(unsigned char c) { return std::uint64_t{0x0101010101010101} * c; }

/// Sets the top bit of each zero byte of `word`; a nonzero byte may be flagged too, but only above a zero byte.
constexpr std::uint64_t zero_bytes(std::uint64_t word) { return (word - in_each_byte(1)) & ~word & in_each_byte(0x80); }

template <class Word>
Word load_word(const char *from) {
  Word word;
  std::memcpy(&word, from, sizeof(Word));
  return word;
}

template <class Word>
void store_word(char *to, Word word) {
  std::memcpy(to, &word, sizeof(Word));
}

/// Copies 4 to 16 bytes as two words, which may overlap, unless `found` matches one of them.
/// @param found  Tests a word of 8 bytes, or one of 4 zero-extended to 8.
/// @return Whether they were copied.
template <class Found>
bool copy_in_two_words(const char *from, size_t size, char *to, Found found) {
  if (size >= 8) {
    const auto front = load_word<std::uint64_t>(from), back = load_word<std::uint64_t>(from + size - 8);
    if (found(front) || found(back)) return false;
    store_word(to, front);
    store_word(to + size - 8, back);
  } else {
    const auto front = load_word<std::uint32_t>(from), back = load_word<std::uint32_t>(from + size - 4);
    if (found(front) || found(back)) return false;
    store_word(to, front);
    store_word(to + size - 4, back);
  }
  return true;
}

/// Copies any number of bytes; fast for few. @return The end of the copy.
inline char *copy_short(const char *from, size_t size, char *to) {
  if (size > 16) {
    std::memcpy(to, from, size);
  } else if (size >= 4) {
    copy_in_two_words(from, size, to, [](std::uint64_t) { return false; });
  } else {
    for (size_t i = 0; i < size; ++i) to[i] = from[i];
  }
  return to + size;
}

} // namespace zar
