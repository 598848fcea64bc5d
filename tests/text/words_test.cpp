#include "zarlib/text/words.h"

#include <gtest/gtest.h>

#include <map>

using texts = std::vector<std::string>;

TEST(Words, AreSeparatedByWhiteSpaceAndNeverEmpty) {
  const texts words = {"one", "\"two", "three\"\v"};
  EXPECT_EQ(zarGetWords("\r\n one\t\t\"two three\"\v \n"), words);
  EXPECT_EQ(zarGetWords(" \t\r\n"), texts());
  texts out = {"kept"};
  EXPECT_EQ(zarGetWords("a b", out), 3);
  EXPECT_EQ(out, (texts{"kept", "a", "b"}));
}

TEST(Words, TheTwoFormsOfBreakingDifferInEmptyFields) {
  const std::map<std::string, texts> cases = {{"", {}},      {"a,,b", {"a", "", "b"}}, {",a", {"", "a"}},
                                              {"a,", {"a"}}, {",,", {"", ""}},         {"a b;c", {"a b;c"}}};
  for (const auto &[text, fields] : cases) {
    texts out = {"kept"}, filled;
    EXPECT_EQ(zarTextBreak(text, ',', out), static_cast<int>(1 + fields.size())) << text;
    EXPECT_EQ(texts(out.begin() + 1, out.end()), fields) << text;
    for (const auto &field : fields)
      if (!field.empty()) filled.push_back(field);
    EXPECT_EQ(zarTextBreak(text, ','), filled) << text;
  }
}

TEST(Words, CompareWithAndWithoutCase) {
  EXPECT_TRUE(sameString("Key", "Key") && sameXmlKeyName("Key", "Key") && sameStringNC("Key", "kEY"));
  EXPECT_FALSE(sameString("Key", "key") || sameXmlKeyName("Key", "key") || sameStringNC("Key", "Key "));
}
