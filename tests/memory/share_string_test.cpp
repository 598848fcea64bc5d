#include "zarlib/memory/share_string.h"

#include <gtest/gtest.h>

#include <cstring>

struct text : baseShareStringA {
  using baseShareStringA::set_Text;
};

TEST(ShareString, ReadsComparesAndCopiesTheStoredNumber) {
  text texts[3];
  auto &[a, b, c] = texts;
  EXPECT_TRUE(*a.c_str() == 0 && a.length() == 0 && a.empty() && a == b);
  baseShareTextA records[12];
  std::memcpy(records, "\4\0\0\0beta\0...\4\0\0\0Beta\0...\0\0\0\0", 29);
  for (int i = 0; i < 3; ++i) texts[i].set_Text(&records[3 * i]);
  EXPECT_TRUE(a.c_ptr() == std::string("beta") && a.length() == 4 && c.empty() && a != b && a > b && c < b);
  c = a;
  EXPECT_EQ(c.c_str(), a.c_str() + 8);
}
