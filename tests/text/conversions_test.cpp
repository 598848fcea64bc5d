#include "zarlib/text/conversions.h"

#include <gtest/gtest.h>

TEST(Conversions, WideTextAndTheFirstGroupOfARegularExpression) {
  EXPECT_EQ(ConvertLPCWSTRToString(L"\x4E2D\xE9z") + ConvertLPWSTRToString(nullptr), "\xE4\xB8\xAD\xC3\xA9z");
  EXPECT_EQ(Wstring2StringWin({L'a', L'\0', L'b'}), "a");
  std::string text = "a key=value;";
  for (const char *pattern : {"=\\w+", "nothing(.)", "(=)(.*);"}) RegexString(text, pattern);
  EXPECT_EQ(text, "=");
  RegexString(text, "(x)?=");
  EXPECT_EQ(text, "") << "the group took no part";
}
