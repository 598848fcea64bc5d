#include "zarlib/text/words.h"

#include <gtest/gtest.h>

TEST(Words, AreSplitAndFieldsKeptOrDroppedAsEachFormSays) {
  std::vector<std::string> out = {"kept"};
  EXPECT_EQ(zarGetWords("\r\n one\t\t\"two three\"\v \n", out), 4);
  EXPECT_EQ(out, (std::vector<std::string>{"kept", "one", "\"two", "three\"\v"}));
  out = {"kept"};
  for (const char *text : {"a,,b", ",c", "d,", ""}) zarTextBreak(text, ',', out);
  EXPECT_EQ(out, (std::vector<std::string>{"kept", "a", "", "b", "", "c", "d"}));
  EXPECT_EQ(zarTextBreak(",a,,b;c d,", ','), (std::vector<std::string>{"a", "b;c d"}));
  EXPECT_TRUE(sameString("Key", "Key") && sameXmlKeyName("Key", "Key") && sameStringNC("Key", "kEY"));
  EXPECT_FALSE(sameString("Key", "key") || sameXmlKeyName("Key", "key") || sameStringNC("Key", "Key "));
}
