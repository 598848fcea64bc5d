#include "zarlib/text/quoted.h"

#include <gtest/gtest.h>

TEST(Quoted, WritesEscapesBehindTheFixedStart) {
  const std::string start(34, '\1');
  EXPECT_EQ(toQuotaString("A\t\r\n\"\\\0\x1F \x7F\x80", 11), start + "A\\t\\r\\n\\\"\\\\\\x00\\x1F \x7F\\x80\"");
  EXPECT_EQ(toQuotaString(nullptr, -1), start + "\"");
}

TEST(Quoted, ReadsUpToTheClosingQuoteAndKeepsWhatItHasOnFailure) {
  const std::tuple<const char *, int, std::string> cases[] = {
      {"\"ab\" rest", 3, "ab"},
      {"\"\\n\\r\\t\\q\\\"\\\\\"", 13, "\n\r\tq\"\\"},
      {"\"\\x41\\XfF\\x00\\x4g\\xag\\xzz\\x\"", 27, "6525504g10gzz"},
      {"\1\"ab\"", 0, ""}, // as the encoder writes it
      {"\"ab\\\"", 0, "ab\""},
      {"\"ab\\x4", 0, "ab4"}};
  for (const auto &[quoted, answer, decoded] : cases) {
    std::string out = "kept:";
    EXPECT_EQ(fromQuotaString(quoted, out), answer) << quoted;
    EXPECT_EQ(out, "kept:" + decoded) << quoted;
  }
}
