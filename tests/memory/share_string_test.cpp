#include "zarlib/memory/share_string.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(ShareString, ReadsComparesAndCopiesTheStoredNumber) {
  struct block {
    struct text : baseShareStringA {
      using baseShareStringA::set_Text;
    } a, b, c;
    baseShareTextA records[12];
  } x;
  EXPECT_TRUE(*x.a.c_str() == 0 && x.a.length() == 0 && x.a.empty() && x.a == x.b);
  std::memcpy(x.records, "\4\0\0\0beta\0...\4\0\0\0Beta\0...\0\0\0\0", 29);
  x.a.set_Text(&x.records[0]);
  x.b.set_Text(&x.records[3]);
  x.c.set_Text(&x.records[6]);
  EXPECT_STREQ(x.a.c_ptr(), "beta");
  EXPECT_TRUE(x.a.length() == 4 && !x.a.empty() && x.c.empty() && x.a != x.b && x.a > x.b && x.c < x.b);
  x.c = x.a;
  EXPECT_EQ(x.c.c_str(), x.a.c_str() + 8);
}
