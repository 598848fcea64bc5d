#include "zarlib/memory/share_pointer.h"

#include <gtest/gtest.h>

#include <cstdint>
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
  words[1] = share_pointer();
  EXPECT_FALSE(words[1].hasData());
  void *const far = reinterpret_cast<void *>(reinterpret_cast<std::uintptr_t>(words) + 0x80000000u);
  words[0].setPointer(far);
  EXPECT_EQ(words[0].pointer(), sizeof(void *) == 4 ? far : nullptr);
}
