#include "zarlib/memory/share_pointer.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(SharePointer, StoresTheDistanceAndKeepsTheTargetWhenCopied) {
  share_pointer words[4];
  EXPECT_TRUE(!words[0].hasData() && words[0].pointer() == nullptr && words[0] == words[1]);
  words[0].setPointer(&words[0]);
  words[2].setPointer(&words[3]);
  words[3] = words[2];
  words[1] = words[0];
  EXPECT_EQ(std::memcmp(words, "\0\0\0\0\xFC\xFF\xFF\xFF\4\0\0\0\0\0\0\0", sizeof words), 0);
  EXPECT_TRUE(words[0].hasData() && words[1] == words[0] && words[1].pointer() == words && !(words[1] == words[2]));
}
