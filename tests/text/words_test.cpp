#include "zarlib/text/words.h"

#include <gtest/gtest.h>

using texts = std::vector<std::string>;

TEST(Words, AreSeparatedByWhiteSpaceAndNeverEmpty) {
  EXPECT_EQ(zarGetWords("\r\n one\t\t\"two three\"\v \n"), (texts{"one", "\"two", "three\"\v"}));
  texts out = {"kept"};
  EXPECT_EQ(zarGetWords(" a b", out), 3);
  EXPECT_EQ(out, (texts{"kept", "a", "b"}));
}

TEST(Words, TheTwoFormsOfBreakingDifferInEmptyFields) {
  texts out = {"kept"};
  EXPECT_EQ(zarTextBreak("a,,b", ',', out), 4);
  EXPECT_EQ(zarTextBreak(",c", ',', out), 6);
  EXPECT_EQ(zarTextBreak("d,", ',', out), 7);
  EXPECT_EQ(zarTextBreak("", ',', out), 7);
  EXPECT_EQ(out, (texts{"kept", "a", "", "b", "", "c", "d"}));
  EXPECT_EQ(zarTextBreak(",a,,b;c d,", ','), (texts{"a", "b;c d"}));
}

TEST(Words, CompareWithAndWithoutCase) {
  EXPECT_TRUE(sameString("Key", "Key") && sameXmlKeyName("Key", "Key") && sameStringNC("Key", "kEY"));
  EXPECT_FALSE(sameString("Key", "key") || sameXmlKeyName("Key", "key") || sameStringNC("Key", "Key "));
}
