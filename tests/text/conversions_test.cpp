#include "zarlib/text/conversions.h"

#include <gtest/gtest.h>

#include <clocale>
#include <regex>

TEST(Conversions, GiveWideTextAsUtf8) {
  EXPECT_EQ(ConvertLPCWSTRToString(L"\x4E2D\xE9z"), "\xE4\xB8\xAD\xC3\xA9z");
  EXPECT_EQ(ConvertLPWSTRToString(nullptr), "");
}

TEST(Conversions, TheLocaleConversionLeavesTheUsersLocaleSet) {
#ifndef _WIN32
  setenv("LC_ALL", "C.UTF-8", 1);
#endif
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(Wstring2StringWin(L""), "");
  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C") << "an empty text leaves it alone";
  EXPECT_EQ(Wstring2StringWin({L'a', L'\0', L'b'}), "a");
  EXPECT_STRNE(std::setlocale(LC_ALL, nullptr), "C");
}

TEST(Conversions, ARegularExpressionPicksItsFirstGroup) {
  std::string text = "a key=value;";
  for (const char *pattern : {"=\\w+", "nothing(.)"}) RegexString(text, pattern);
  EXPECT_EQ(text, "a key=value;");
  RegexString(text, "(=)(.*);");
  EXPECT_EQ(text, "=");
  RegexString(text, "(x)?=");
  EXPECT_EQ(text, "") << "the group took no part";
  EXPECT_THROW(RegexString(text, "("), std::regex_error);
}
