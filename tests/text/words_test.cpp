#include "zarlib/text/words.h"

#include <gtest/gtest.h>

TEST(Words, AreSplitAndFieldsKeptOrDroppedAsEachFormSays) {
  std::vector<std::string> out = {"kept"};
  EXPECT_EQ(zarGetWords("\r\n one\t\t\"two three\"\v \n", out), 4);
  EXPECT_EQ(out, (std::vector<std::string>{"kept", "one", "\"two", "three\"\v"}));
  EXPECT_EQ(zarTextBreak((out = {"a,,b,c,d"})[0], ',', out), 6); // the text is inside the growing list
  for (const char *text : {",e", "f,", ""}) zarTextBreak(text, ',', out);
  EXPECT_EQ(out, (std::vector<std::string>{"a,,b,c,d", "a", "", "b", "c", "d", "", "e", "f"}));
  EXPECT_EQ(zarTextBreak(",a,,b;c d,", ','), (std::vector<std::string>{"a", "b;c d"}));
  EXPECT_TRUE(sameString("Key", "Key") && sameXmlKeyName("Key", "Key") && sameStringNC("Key", "kEY"));
  EXPECT_FALSE(sameString("Key", "key") || sameXmlKeyName("Key", "key") || sameStringNC("Key", "Key "));
}
