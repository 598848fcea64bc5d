#include "zarlib/text/quoted.h"

#include <gtest/gtest.h>

TEST(Quoted, WritesEscapesBehindTheFixedStart) {
  const std::string start(34, '\1');
  EXPECT_EQ(toQuotaString("A\t\xFF\r\n\"\\", 7), start + "A\\t\\xFF\\r\\n\\\"\\\\\"");
  EXPECT_EQ(toQuotaString("\0\x1F \x7F\x80", 5), start + "\\x00\\x1F \x7F\\x80\"");
  EXPECT_EQ(toQuotaString(nullptr, -1), start + "\"");
  std::string out;
  EXPECT_EQ(fromQuotaString(toQuotaString("a", 1), out), 0) << "the two directions do not meet";
}

TEST(Quoted, ReadsUpToTheClosingQuoteAndKeepsWhatItHasOnFailure) {
  const struct {
    const char *quoted;
    int answer;
    const char *out;
  } cases[] = {{"\"\"", 1, ""},
               {"\"ab\" rest", 3, "ab"},
               {"\"\\n\\r\\t\\q\\\"\\\\\"", 13, "\n\r\tq\"\\"},
               {"\"\\x41\\XfF\\x00\\x4g\\xag\\xzz\\x\"", 27, "6525504g10gzz"},
               {"\"", 0, ""},
               {"ab\"", 0, ""},
               {"\"ab\\\"", 0, "ab\""},
               {"\"ab\\", 0, "ab"},
               {"\"ab\\x4", 0, "ab4"}};
  for (const auto &c : cases) {
    std::string out = "kept:";
    EXPECT_EQ(fromQuotaString(c.quoted, out), c.answer) << c.quoted;
    EXPECT_EQ(out, std::string("kept:") + c.out) << c.quoted;
  }
}
