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
  EXPECT_EQ(Wstring2StringWin(L"\x4E2D\xE9\U0001F600"), "\xE4\xB8\xAD\xC3\xA9\xF0\x9F\x98\x80");
#endif
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(Wstring2StringWin(L""), "");
  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C") << "an empty text leaves it alone";
  EXPECT_EQ(Wstring2StringWin({L'a', L'\0', L'b'}), "a");
  EXPECT_STRNE(std::setlocale(LC_ALL, nullptr), "C");
  std::setlocale(LC_ALL, "C");
}

TEST(Conversions, ARegularExpressionPicksItsFirstGroup) {
  const char *const cases[][2] = {{"=(\\w+)", "value"},
                                  {"=\\w+", "a key=value;"},
                                  {"nothing(.)", "a key=value;"},
                                  {"(x)?key", ""},
                                  {"(k).(y)", "k"}};
  for (const auto &[pattern, result] : cases) {
    std::string text = "a key=value;";
    RegexString(text, pattern);
    EXPECT_EQ(text, result) << pattern;
    EXPECT_THROW(RegexString(text, "("), std::regex_error);
  }
}
