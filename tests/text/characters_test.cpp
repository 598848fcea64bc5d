#include "zarlib/text/characters.h"

#include <gtest/gtest.h>

TEST(Characters, BelongToTheirClassesAndToNoOther) {
  const std::string lower = "abcdefghijklmnopqrstuvwxyz", upper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  const auto in = [](const std::string &set, int c) {
    return c > 0 && c < 256 && set.find(static_cast<char>(c)) != std::string::npos;
  };
  for (int c = -300; c < 600; ++c) {
    EXPECT_EQ(chIsAlpha(c) != 0, in(lower + upper, c)) << c;
    EXPECT_EQ(chIsDigit(c) != 0, in("0123456789", c)) << c;
    EXPECT_EQ(chIsWhiteSpace(c) != 0, in(" \t\r\n", c)) << c;
    EXPECT_EQ(chIsPathSeparator(c) != 0, in("/\\", c & 0xFF)) << c;
    EXPECT_EQ(chLower(c), in(upper, c) ? c + 32 : c);
    EXPECT_EQ(chUpper(c), in(lower, c) ? c - 32 : c);
    EXPECT_EQ(chReverse(c), in(upper, c) ? c + 32 : in(lower, c) ? c - 32 : c);
  }
}

TEST(Characters, TablesHoldTheirSets) {
  EXPECT_EQ(getTabAlphaLower() + getTabAlphaUpper(), getTabAlphaAll());
  EXPECT_EQ(getTabAlphaAll(), "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ");
  EXPECT_EQ(getTabDigit10() + getTabDigit16(), "01234567890123456789abcdefABCDEF");
  EXPECT_EQ(getTabPathSeparator() + getTabWhiteSpace(), "/\\ \t\r\n");
}

TEST(Utf8, WalksForwardAndBackwardOverTheSameCharacters) {
  const std::string text = "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x9F";
  // A character of four bytes is not known: each of its bytes is one of its own.
  const std::pair<size_t, int> characters[] = {{0, 'a'},   {1, 0x7F},   {2, 0x80}, {4, 0x7FF},
                                               {6, 0x800}, {9, 0xFFFF}, {12, '?'}, {13, '?'}};
  const char *step = text.c_str(), *word = step;
  for (const auto &[at, code] : characters) {
    EXPECT_EQ(step, &text[at]);
    EXPECT_EQ(static_cast<int>(chUTF8Word(word)), code) << at;
    std::string rest = text.substr(at);
    EXPECT_EQ(static_cast<int>(chUTF8Word(rest)), code) << at;
    EXPECT_EQ(static_cast<int>(chUTF8Inc(rest)), code) << at;
    EXPECT_EQ(rest, text.substr(at) + static_cast<char>(word - step)) << "the count is appended, nothing taken away";
    step = chUTF8Inc(step);
    EXPECT_EQ(chUTF8Dec(text.c_str(), step), at < 12 ? &text[at] : &text[12]);
  }
  EXPECT_EQ(chUTF8Inc(step), nullptr);
  EXPECT_EQ(chUTF8Dec(step, step), nullptr);
  EXPECT_EQ(chUTF8Dec(&text[7], &text[9]), nullptr) << "only continuation bytes";
}

TEST(Utf8, TheFormOnStringsSeesWhereASequenceIsCut) {
  std::string cut = "\xE2\x82", empty;
  EXPECT_EQ(chUTF8Inc(cut), L'?');
  EXPECT_EQ(chUTF8Inc(empty), 0);
  EXPECT_EQ(cut + empty, std::string("\xE2\x82\1\0", 4));
}
