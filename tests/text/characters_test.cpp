#include "zarlib/text/characters.h"

#include <gtest/gtest.h>

TEST(Characters, BelongToTheirClassesAndToNoOther) {
  const std::string lower = "abcdefghijklmnopqrstuvwxyz", upper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  EXPECT_EQ(getTabAlphaLower() + getTabAlphaUpper() + getTabAlphaAll(), lower + upper + lower + upper);
  EXPECT_EQ(getTabDigit10() + getTabDigit16(), "01234567890123456789abcdefABCDEF");
  EXPECT_EQ(getTabPathSeparator() + getTabWhiteSpace(), "/\\ \t\r\n");
  const auto in = [](std::string_view set, int c) { return c > 0 && c < 256 && set.find(char(c)) != set.npos; };
  for (int c = -300; c < 600; ++c) {
    EXPECT_TRUE((chIsAlpha(c) != 0) == in(lower + upper, c) && (chIsDigit(c) != 0) == in("0123456789", c)) << c;
    EXPECT_TRUE((chIsWhiteSpace(c) != 0) == in(" \t\r\n", c) && (chIsPathSeparator(c) != 0) == in("/\\", c & 255)) << c;
    EXPECT_TRUE(chLower(c) == c + 32 * in(upper, c) && chUpper(c) == c - 32 * in(lower, c)) << c;
    EXPECT_EQ(chReverse(c), c + 32 * in(upper, c) - 32 * in(lower, c));
  }
}

TEST(Utf8, WalksForwardAndBackwardOverTheSameCharacters) {
  const std::string text = "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x9F";
  // Four-byte characters are not supported: each byte counts as a character.
  const std::pair<size_t, wchar_t> characters[] = {{0, 'a'},   {1, 0x7F},   {2, 0x80}, {4, 0x7FF},
                                                   {6, 0x800}, {9, 0xFFFF}, {12, '?'}, {13, '?'}};
  const char *step = text.c_str(), *word = step;
  for (const auto &[at, code] : characters) {
    EXPECT_EQ(step, &text[at]);
    std::string rest = text.substr(at);
    EXPECT_TRUE(chUTF8Word(word) == code && chUTF8Word(rest) == code && chUTF8Inc(rest) == code) << at;
    EXPECT_EQ(rest, text.substr(at) + static_cast<char>(word - step)) << "the count is appended, nothing taken away";
    step = chUTF8Inc(step);
    EXPECT_EQ(chUTF8Dec(text.c_str(), step), at < 12 ? &text[at] : &text[12]);
  }
  EXPECT_TRUE(chUTF8Inc(step) == nullptr && chUTF8Dec(step, step) == nullptr);
}
